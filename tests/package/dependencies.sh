# Sourced by tests of packages. check_dependencies FOLDER: the packages that those in the folder depend on, which are the
# same on every architecture, versions aside.
check_dependencies() {
  local package name expected actual
  declare -A expectations=(
    [libkv-algo0]="libc6 libgcc-s1 libstdc++6"
    [libkv-algo-dev]="libkv-algo0"
    [kv-algo-tools]="libc6 libgcc-s1 libkv-algo0 libpng16-16 libstdc++6"
    [kv-algo-av]="kv-algo-tools libavcodec59 libavformat59 libavutil57 libc6 libgcc-s1 libstdc++6 libswscale6"
    [libkv-c0]="libc6 libgcc-s1 libkv-algo0 libstdc++6"
    [python3-kv-algo]="libkv-c0 python3 python3-numpy"
    [libkv-c-dev]="libkv-algo-dev libkv-c0"
    [gstreamer1.0-kv-algo]="libc6 libgcc-s1 libglib2.0-0 libgstreamer-plugins-base1.0-0 libgstreamer1.0-0 libkv-c0 libstdc++6"
  )
  for package in "$1"/*.deb; do
    name=$(dpkg-deb -f "$package" Package)
    expected=${expectations[$name]:-}
    actual=$(dpkg-deb -f "$package" Depends | tr ',' '\n' | sed 's/ *(.*//; s/^ *//' | LC_ALL=C sort -u | xargs)
    [ "$actual" = "$expected" ] || fail "$name depends on \"$actual\", and \"$expected\" was expected"
  done
}
