#!/usr/bin/env bash
# Installs every package the build, the tests, the benchmarks, the robustness runs
# (clang and its sanitizer and fuzzer runtimes, valgrind) and scripts/mutate.sh need
# (Debian 12, as root).
set -euo pipefail
if [ "$(id -u)" -ne 0 ]; then
  echo "install-deps.sh: run as root (apt-get)" >&2
  exit 1
fi
export DEBIAN_FRONTEND=noninteractive
apt-get update
apt-get install -y --no-install-recommends \
  build-essential cmake ninja-build pkg-config flex bison \
  libicu-dev libinih-dev libxxhash-dev libgtest-dev libgmock-dev libbenchmark-dev \
  binutils clang-format scdoc perl \
  libcli11-dev nlohmann-json3-dev libpcre2-dev less \
  systemd systemd-journal-remote \
  clang libclang-rt-14-dev valgrind
# bench/compare.sh: python3 measures CPU time and peak RSS.
apt-get install -y --no-install-recommends python3
