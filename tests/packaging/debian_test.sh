#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Makes the Debian packages of a build and looks at them: lintian, what is in them,
# the unit, and what a purge leaves, on a bare host.
#
# usage: debian_test.sh BUILD VERSION
set -eu -o pipefail
here=$(cd "$(dirname "$0")" && pwd)
source=$(cd "$here/../.." && pwd)
build=$1
version=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

fail() {
  echo "FAILED: $*" >&2
  exit 1
}

# Whether the package holds a path that ends so.
holds() { # PACKAGE PATH
  dpkg-deb --contents "$work/dist/$1_${version}-1_amd64.deb" | awk '{print $6}' |
    grep -qxF "./$2" || fail "$1 has no $2"
}

"$source/packaging/make-debs" "$build" "$work/dist"
found=$(cd "$work/dist" && echo *.deb)
wanted="libortinv-dev_$version-1_amd64.deb libortinv1_$version-1_amd64.deb"
wanted="$wanted ortinv_$version-1_amd64.deb tvurev-lab_$version-1_amd64.deb tvurev_$version-1_amd64.deb"
[ "$found" = "$wanted" ] || fail "packages: $found"

holds tvurev usr/sbin/tvurev
holds tvurev usr/libexec/tvurev/tvurev-supervisor
holds tvurev usr/share/man/man8/tvurev.8.gz
holds tvurev lib/systemd/system/tvurev.service
holds libortinv1 "usr/lib/x86_64-linux-gnu/libortinv.so.$version"
holds libortinv-dev usr/include/ortinv/ortinv.h
holds libortinv-dev usr/lib/x86_64-linux-gnu/libortinv.a
holds libortinv-dev usr/lib/x86_64-linux-gnu/pkgconfig/ortinv.pc
holds ortinv usr/bin/ortinv
holds tvurev-lab usr/bin/tvurev-lab
holds tvurev-lab usr/bin/mox-sim

dpkg-deb --extract "$work/dist/tvurev_$version-1_amd64.deb" "$work/tvurev"
grep -qx 'ExecStart=/usr/libexec/tvurev/tvurev-supervisor run' \
  "$work/tvurev/lib/systemd/system/tvurev.service" || fail "the unit starts something else"
cmp "$source/packaging/host/tvurev-supervisor" "$work/tvurev/usr/libexec/tvurev/tvurev-supervisor"

# The laboratory works from where the package puts it.
for package in tvurev ortinv tvurev-lab; do
  dpkg-deb --extract "$work/dist/${package}_$version-1_amd64.deb" "$work/root"
done
"$work/root/usr/bin/tvurev-lab" -- ortinv --version >"$work/answer" || fail "tvurev-lab"
grep -q "$version" "$work/answer" || fail "tvurev-lab said: $(cat "$work/answer")"

dpkg-deb --control "$work/dist/tvurev_$version-1_amd64.deb" "$work/control"
mkdir -p "$work/bare/opt/ortdv/tmp" "$work/bare/opt/ortdv/sockets/agentx" "$work/bare/run"
touch "$work/bare/opt/ortdv/tmp/moxstatus"
cp "$work/control/postrm" "$work/bare/run/"
# shellcheck disable=SC2016  # it expands there
"$source/lab/sandbox" --bare "$work/bare" -- sh -ec '
  sh /run/postrm remove && [ -f /opt/ortdv/tmp/moxstatus ]
  touch /opt/ortdv/mine
  sh /run/postrm purge && [ "$(ls /opt/ortdv)" = mine ]
  rm /opt/ortdv/mine
  sh /run/postrm purge && [ ! -e /opt/ortdv ] && [ -d /opt ]
' || fail "purge"

lintian --no-cfg --allow-root --fail-on error,warning "$work"/dist/*.deb
echo "ok: $found"
