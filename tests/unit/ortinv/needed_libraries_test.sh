#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# The tool needs the C library and its loader, nothing else: what more it loaded
# would cost every run more than the run itself.
# usage: needed_libraries_test.sh PROGRAM
set -eu

needed=$(readelf -dW "$1" | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p')
if ! grep -qx 'libc\.so\.6' <<<"$needed"; then
  echo "$1: not linked to the C library as a shared one: nothing can be preloaded into it"
  exit 1
fi
others=$(grep -vxE 'lib(c|m|dl|pthread)\.so\.[0-9]+|ld-linux[-a-z0-9]*\.so\.[0-9]+' <<<"$needed" || true)
if [ -n "$others" ]; then
  echo "$1: needs more than the C library:"
  echo "$others"
  exit 1
fi
