# Shared by ./run and ./test; the caller has changed to the project's folder.

as_root() {
  if [ "$(id -u)" -eq 0 ]; then "$@"; else sudo "$@"; fi
}

# Installs the packages of packages.txt that are missing.
install_packages() {
  local missing=() package
  while read -r package; do
    dpkg-query -W -f='${db:Status-Status}\n' "$package" 2>/dev/null | grep -qx installed ||
      missing+=("$package")
  done < <(grep -v '^#' packages.txt)
  [ ${#missing[@]} -gt 0 ] || return 0
  echo "Installing ${missing[*]}"
  # The tests start servers of their own; none is to run besides.
  if [ ! -e /etc/postgresql-common/createcluster.conf ]; then
    as_root mkdir -p /etc/postgresql-common
    echo "create_main_cluster = false" | as_root tee /etc/postgresql-common/createcluster.conf >/dev/null
  fi
  as_root apt-get update -qq
  as_root env DEBIAN_FRONTEND=noninteractive \
    apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
}

# build PRESET: configures and builds; the output of both is shown only when one fails.
build() {
  local log="build/$1.log"
  mkdir -p build
  echo "Building ($1)"
  if ! { cmake --preset "$1" && cmake --build --preset "$1"; } >"$log" 2>&1; then
    cat "$log"
    return 1
  fi
}
