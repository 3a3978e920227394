# bash completion for kv. Commands and options are read from kv's own help, so they are always those it has.
_kv() {
  local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]} program=${COMP_WORDS[0]}
  local command='' word
  for word in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
    [[ $word == -* ]] || { command=$word; break; }
  done
  local words
  if [[ -z $command && $current != -* ]]; then
    words=$("$program" --help 2>/dev/null | sed -n '/^Subcommands:/,$ s/^  \([a-z][a-z-]*\) .*/\1/p')
  elif [[ $current == -* ]]; then
    words=$("$program" ${command:+"$command"} --help 2>/dev/null | grep -o '^  -[^ ]*' | tr ', ' '\n\n' | grep '^-')
  else
    case $previous in
      --member) words=$("$program" members 2>/dev/null | awk '/ usable/ { print $1 }') ;;
      --from-format) words="y4m uyvy yuy2 yvyu uyvya yuy2a nv16 yuv422p yuv420p nv12 v210 yuv422p10le gray bgr24 rgb24 bgra rgba bmp pgm ppm pnm png" ;;
      --to-format) words="y4m uyvy yuy2 yvyu uyvya yuy2a nv16 yuv422p yuv420p nv12 v210 yuv422p10le gray bgr24 rgb24 bgra rgba bmp pgm ppm pnm png mkv mov mp4 mxf avi jpg tiff" ;;
      --layout) words='uyvy yuy2' ;;
      --fields) words='top bottom progressive' ;;
      --dither) words='none ordered' ;;
      --depth) words='8 15 16 24 32' ;;
      --matrix) words='601 709 2020' ;;
      --range | --colour-range) words='limited full' ;;
      --chroma) words='left centre' ;;
      --resample) words='linear nearest' ;;
      --codec) words='ffv1 raw v210 prores mpeg2 h264 h264-422' ;;
      --on-error) words='stop skip' ;;
      --update) words='never always on-score' ;;
      --method) words='line field blend' ;;
      --direction) words='left right up down' ;;
      *)
        compopt -o default 2>/dev/null
        COMPREPLY=()
        return
        ;;
    esac
  fi
  mapfile -t COMPREPLY < <(compgen -W "$words" -- "$current")
}
complete -F _kv kv
