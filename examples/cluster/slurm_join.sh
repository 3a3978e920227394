#!/bin/bash
#SBATCH --job-name=kv-join
#SBATCH --ntasks=1 --cpus-per-task=1
# After the array: its parts, one after the other. usage: sbatch slurm_join.sh FOLDER OUT
set -eu
"${PYTHON:-/usr/bin/python3}" "$1/job.py" path "$2"
cd "$2"
"${KV:-kv}" join part-?????.y4m -o whole.y4m
rm part-*
