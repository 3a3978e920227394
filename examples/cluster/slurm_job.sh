#!/bin/bash
# The job as an array of Slurm, and its parts joined when all are done. usage: slurm_job.sh CLIP OUT [CHUNK]
#
# Makes OUT/whole.y4m and OUT/path.csv, and returns when they are there. CLIP and OUT are in a folder that all nodes see.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
clip=$(realpath "$1")
mkdir -p "$2"
out=$(realpath "$2")
chunk=${3:-50}
count=$("${PYTHON:-/usr/bin/python3}" "$here/job.py" count "$clip" --chunk "$chunk")
array=$(sbatch --parsable --array=0-$((count - 1)) --output="$out/log-%a.txt" "$here/slurm_part.sh" "$here" "$clip" "$out" "$chunk")
sbatch --wait --dependency=afterok:"$array" --kill-on-invalid-dep=yes --output="$out/log-join.txt" "$here/slurm_join.sh" "$here" "$out" >/dev/null ||
  { cat "$out"/log-*.txt >&2; exit 1; }
