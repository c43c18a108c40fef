# Installs the Debian packages that are missing (apt-get update once, only
# when something is missing). Usage: ensure_packages NAME...
ensure_packages() {
  local missing=()
  local name
  for name in "$@"; do
    dpkg-query -W -f='${Status}' "$name" 2>/dev/null | grep -q 'ok installed' || missing+=("$name")
  done
  [ ${#missing[@]} -eq 0 ] && return 0
  echo "Installing: ${missing[*]}" >&2
  local sudo=""
  [ "$(id -u)" -eq 0 ] || sudo="sudo"
  $sudo apt-get update -qq
  DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
}

# What building and testing needs on a fresh Debian machine.
NXCGI_BUILD_PACKAGES=(g++ cmake ninja-build libgtest-dev libgmock-dev libbenchmark-dev)
NXCGI_TEST_PACKAGES=(netbase python3-pyftpdlib curl strace)
# What the device simulator needs (scripts/simulator.sh).
NXCGI_SIM_PACKAGES=(lighttpd python3 python3-pyftpdlib util-linux procps)
# What the browser test needs besides: Debian's Chromium (the test drives it
# with playwright-core from npm, installed by npm ci).
NXCGI_BROWSER_PACKAGES=(chromium fonts-dejavu-core)
# The fuzz harnesses (scripts/fuzz.sh): clang with libFuzzer and the
# sanitizer run-time libraries.
NXCGI_FUZZ_PACKAGES=(clang-14 libclang-rt-14-dev)
# The sanitizer build (scripts/test_sanitizers.sh) is built with clang too,
# and the memcheck run (scripts/test_valgrind.sh) needs valgrind.
NXCGI_SANITIZER_PACKAGES=(clang-14 libclang-rt-14-dev)
NXCGI_VALGRIND_PACKAGES=(valgrind)
