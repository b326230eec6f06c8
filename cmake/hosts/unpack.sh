#!/usr/bin/env bash
# unpack.sh HOST FOLDER: a cross compiler for HOST (s390x, armhf, aarch64) in FOLDER, from Debian's
# packages, without installing them: installed, they would push out g++-multilib, which the 32-bit
# build needs. FOLDER/bin then has gcc, g++ and `run`, which starts a program under qemu-user.
set -euo pipefail
host=${1:?host}
folder=${2:?folder}

case $host in
  s390x) triple=s390x-linux-gnu machine=s390x debian=s390x ;;
  armhf) triple=arm-linux-gnueabihf machine=arm debian=armhf ;;
  aarch64) triple=aarch64-linux-gnu machine=aarch64 debian=arm64 ;;
  *) printf 'unpack.sh: no such host: %s (s390x, armhf, aarch64)\n' "$host" >&2; exit 2 ;;
esac

[[ -x $folder/bin/run ]] && exit 0
if [[ $(dpkg --print-architecture) == "$debian" ]]; then
  printf 'unpack.sh: this machine is %s itself: build natively\n' "$host" >&2
  exit 2
fi
rm -rf "$folder"
mkdir -p "$folder/packages" "$folder/bin"
folder=$(cd "$folder" && pwd)

# The compiler, and of what it depends on all that is of the other machine or of the compiler.
known_compiler() {
  apt-cache depends "g++-$triple" 2>/dev/null |
    sed -n "s/^ *Depends: \(g++-[0-9]*-$triple\)$/\1/p" || true
}
compiler=$(known_compiler)
if [[ -z $compiler ]]; then  # apt has no lists yet
  apt-get update -q >/dev/null 2>&1 || true
  compiler=$(known_compiler)
fi
[[ -n $compiler ]] || { printf 'unpack.sh: apt does not know g++-%s\n' "$triple" >&2; exit 1; }
version=${compiler#g++-}
version=${version%%-*}
mapfile -t packages < <(
  apt-cache depends --recurse --no-recommends --no-suggests --no-conflicts --no-breaks \
    --no-replaces --no-enhances "$compiler" |
    grep -E "^[a-z].*(-cross$|$triple$)" | sort -u
)
[[ ${#packages[@]} -gt 8 ]] || { printf 'unpack.sh: apt lacks parts of %s\n' "$compiler" >&2; exit 1; }
(cd "$folder/packages" && apt-get download -q "${packages[@]}" doctest-dev >/dev/null 2>&1) || {
  printf 'unpack.sh: the packages of %s could not be downloaded\n' "$compiler" >&2
  exit 1
}
for package in "$folder"/packages/*.deb; do dpkg-deb -x "$package" "$folder"; done
rm -rf "$folder/packages"

# The C library's linker scripts name files by their place in an installed system.
grep -lI GROUP "$folder/usr/$triple/lib/"*.so | xargs -r sed -i "s#/usr/$triple/lib/##g"

for tool in gcc g++; do
  cat >"$folder/bin/$tool" <<END
#!/bin/sh
LD_LIBRARY_PATH=$folder/usr/lib/$(uname -m)-linux-gnu exec $folder/usr/bin/$triple-$tool-$version "\$@"
END
done
cat >"$folder/bin/run" <<END
#!/bin/sh
exec qemu-$machine -L $folder/usr/$triple "\$@"
END
chmod +x "$folder"/bin/*
