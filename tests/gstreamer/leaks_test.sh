#!/usr/bin/env bash
# leaks_test.sh SOURCE BUILD: GStreamer's own tracer finds nothing alive after the tests of the elements.
set -euo pipefail
build=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
unset GST_PLUGIN_PATH
# The tracer is a plug-in of the system; what else is there is not loaded.
system=$(pkg-config --variable=pluginsdir gstreamer-1.0)
mkdir "$work/plugins"
ln -s "$system/libgstcoretracers.so" "$work/plugins/"
export GST_PLUGIN_SYSTEM_PATH=$work/plugins GST_REGISTRY=$work/registry.bin
export G_DEBUG=fatal-criticals GST_TRACERS=leaks GST_DEBUG=GST_TRACER:7 GST_DEBUG_NO_COLOR=1 GST_DEBUG_FILE=$work/trace
"$build/bin/gstreamer_test" >"$work/log" || { cat "$work/log"; exit 1; }
# Without the tracer the test would prove nothing.
grep -q 'new format string: object-alive' "$work/trace" || { echo "leaks_test: the tracer did not run"; exit 1; }
if grep 'object-alive, type-name=(string)[A-Za-z]' "$work/trace"; then
  echo "leaks_test: these objects were not freed"
  exit 1
fi
echo "nothing leaks"
