# The Debian packages of the build, and how the scripts install them. Sourced, not run.

build_packages="cmake ninja-build g++ pkg-config libcli11-dev libgpg-error-dev libgcrypt20-dev
  libbsd-dev nlohmann-json3-dev python3"
test_packages="g++-multilib googletest ca-certificates openssl gnutls-bin libengine-gost-openssl
  abigail-tools bash-completion doxygen lintian make man-db valgrind"

# Installs those of the named packages that are missing, quietly.
install_packages() {
  missing=
  for package in "$@"; do
    case $(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null) in
      installed) ;;
      *) missing="$missing $package" ;;
    esac
  done
  [ -n "$missing" ] || return 0
  root=
  [ "$(id -u)" -eq 0 ] || root=sudo
  echo "Installing$missing" >&2
  log=$(mktemp)
  $root apt-get update -qq >"$log" 2>&1 &&
    $root env DEBIAN_FRONTEND=noninteractive \
      apt-get install -y -qq --no-install-recommends $missing >"$log" 2>&1 || {
    cat "$log" >&2
    return 1
  }
  rm "$log"
}
