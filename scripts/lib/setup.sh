# Shared by the scripts: installs what is missing and builds. Sourced from the top folder of the checkout.

jobs=$(nproc 2>/dev/null || echo 2)

# install_missing NAME:PACKAGE...: installs the Debian package of every NAME that is absent. A NAME with a slash
# is a file, any other a command.
install_missing() {
  missing=
  for pair in "$@"; do
    name=${pair%%:*}
    case $name in
      */*) [ -e "$name" ] || missing="$missing ${pair#*:}" ;;
      *) command -v "$name" >/dev/null 2>&1 || missing="$missing ${pair#*:}" ;;
    esac
  done
  [ -n "$missing" ] || return 0
  as_root=
  [ "$(id -u)" -eq 0 ] || as_root=sudo
  if ! command -v apt-get >/dev/null 2>&1; then
    echo "please install:$missing" >&2
    return 1
  fi
  echo "== installing$missing"
  # The names are words of their own on purpose.
  # shellcheck disable=SC2086
  $as_root apt-get update -q && $as_root env DEBIAN_FRONTEND=noninteractive \
    apt-get install -q -y --no-install-recommends $missing
}

install_build_tools() { install_missing g++:g++ cmake:cmake make:make; }

# What kzr needs beyond that; without it the build leaves kzr out.
install_tool_libraries() {
  install_missing /usr/include/CLI/CLI.hpp:libcli11-dev /usr/include/nlohmann/json.hpp:nlohmann-json3-dev \
    /usr/include/elfutils/libdwfl.h:libdw-dev /usr/include/zlib.h:zlib1g-dev /usr/include/sqlite3.h:libsqlite3-dev
}

# Programs that `kzr record` records: both compilers, LLVM's OpenMP runtime and its interface for tools.
install_openmp_tools() { install_missing gcc:gcc clang-14:clang-14 /usr/lib/llvm-14/lib/libomp.so:libomp-14-dev; }

# install_browser DIRECTORY: what pages are tested in: the system's browser, and in DIRECTORY the packages that
# tests/page asks for.
install_browser() {
  install_missing chromium:chromium node:nodejs npm:npm
  mkdir -p "$1"
  cmp -s tests/page/package-lock.json "$1/package-lock.json" && [ -e "$1/node_modules/.package-lock.json" ] && return
  echo "== installing packages of tests/page in $1"
  cp tests/page/package.json tests/page/package-lock.json "$1"
  (cd "$1" && npm ci --ignore-scripts --no-audit --no-fund)
}

install_test_tools() {
  install_missing g++:g++ cmake:cmake make:make strace:strace /usr/include/gtest/gtest.h:libgtest-dev
  # The figures of random runs are checked by a program in Python.
  install_missing python3:python3 /usr/lib/python3/dist-packages/jsonschema/__init__.py:python3-jsonschema
  # Exports are read back by the programs that they are for, drawn graphs compared with what Graphviz draws.
  install_missing protoc:protobuf-compiler dot:graphviz \
    /usr/lib/python3/dist-packages/igraph/__init__.py:python3-igraph \
    /usr/lib/python3/dist-packages/networkx/__init__.py:python3-networkx
  install_tool_libraries
  install_openmp_tools
}

# configure DIRECTORY [CMAKE_ARGUMENT...]: the configuration's output is shown when it fails only.
configure() {
  directory=$1
  shift
  mkdir -p "$directory"
  cmake -S . -B "$directory" "$@" >"$directory/configure.log" 2>&1 || {
    cat "$directory/configure.log"
    return 1
  }
}

# build DIRECTORY [TARGET...]: builds the targets, or everything.
build() {
  directory=$1
  shift
  echo "== building in $directory"
  cmake --build "$directory" --parallel "$jobs" ${1+--target "$@"}
}

# build_release DIRECTORY TARGET...: a release build of the targets.
build_release() {
  configure "$1" -DCMAKE_BUILD_TYPE=Release
  build "$@"
}
