#!/bin/bash
#SBATCH --job-name=kv-part
#SBATCH --ntasks=1 --cpus-per-task=1
#SBATCH --requeue
# One task of a job array: the part that its index names. usage: sbatch --array=0-N slurm_part.sh FOLDER CLIP OUT CHUNK
exec "${PYTHON:-/usr/bin/python3}" "$1/job.py" part "$2" "$3" --chunk "$4" --index "$SLURM_ARRAY_TASK_ID"
