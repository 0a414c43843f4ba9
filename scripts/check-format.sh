#!/usr/bin/env bash
# Fails when a C or C++ source of the tree does not follow .clang-format.
set -euo pipefail
cd "$(dirname "$0")/.."
git ls-files -- src include platform tools tests bench fuzz | grep -E '\.(c|cc|h)$' |
  xargs clang-format --dry-run --Werror
