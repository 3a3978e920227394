#!/bin/sh
# usage: wrap_programs.sh BIN FOLDER EMULATOR...
# Makes FOLDER of BIN: the same files, but a program starts itself in EMULATOR, under its own name, wherever it is copied.
set -eu
bin=$1
folder=$2
shift 2
rm -rf "$folder"
cp -al "$bin" "$folder"
for program in "$folder"/*; do
  { [ -f "$program" ] && [ -x "$program" ]; } || continue
  case $program in *.so | *.so.*) continue ;; esac
  mv "$program" "$program.program"
  cat >"$program" <<END
#!/bin/sh
here=\$(cd "\$(dirname "\$0")" && pwd)
program=\$here/\$(basename "\$0").program
[ -e "\$program" ] || cp "$program.program" "\$program"
exec $* -0 "\$here/\$(basename "\$0")" "\$program" "\$@"
END
  chmod +x "$program"
done
