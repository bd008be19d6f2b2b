# What ./run, ./test and ./bench have in common: stages that say what they do and how long it took, and
# the installation of what is missing.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

build_packages=(g++ cmake ninja-build nlohmann-json3-dev libspdlog-dev libfmt-dev libcli11-dev)

# stage NAME COMMAND...: runs the command; its output goes where the command sends it.
stage() {
  local name=$1 start=$SECONDS
  shift
  printf '== %s\n' "$name"
  "$@"
  printf '== %s: %d s\n' "$name" $((SECONDS - start))
}

# quietly LOG COMMAND...: keeps the output in a file and shows it only when the command fails.
quietly() {
  local log=$1
  shift
  mkdir -p "$(dirname "$log")"
  if ! "$@" >"$log" 2>&1; then
    tail -n 100 "$log"
    printf '%s failed; all of its output: %s\n' "$1" "$log"
    return 1
  fi
}

install_missing() {
  local missing=() package
  for package in "$@"; do
    dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q 'ok installed' || missing+=("$package")
  done
  [ ${#missing[@]} -eq 0 ] && return
  printf 'Installing %s\n' "${missing[*]}"
  local root=()
  [ "$(id -u)" -eq 0 ] || root=(sudo)
  quietly build/install.log "${root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get update -q
  quietly build/install.log "${root[@]}" env DEBIAN_FRONTEND=noninteractive \
    apt-get install -q -y --no-install-recommends "${missing[@]}"
}

# visibly LOG COMMAND...: the same; meanwhile a terminal shows the line that stands last in the log.
on_terminal=
[ -t 1 ] && on_terminal=yes
visibly() {
  local painter= status=0
  if [ "$on_terminal" ]; then
    rm -f "$1"
    show_last_line "$1" &
    painter=$!
  fi
  quietly "$@" || status=$?
  [ -z "$painter" ] || kill "$painter"
  return $status
}

show_last_line() {
  trap 'printf "\r\e[K"; exit' TERM
  while kill -0 $$; do
    printf '\r%.78s\e[K' "$(tail -n 1 "$1" 2>/dev/null)"
    sleep 0.2
  done
}

# build PRESET [OPTION...]: configures and builds it.
build() {
  local preset=$1
  shift
  quietly "build/$preset/configure.log" cmake --preset "$preset" "$@"
  visibly "build/$preset/build.log" cmake --build --preset "$preset"
}
