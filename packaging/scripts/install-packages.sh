#!/usr/bin/env bash
# Installs the Debian packages listed in packaging/debian-packages.txt that are missing. Quick when none is.
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)

mapfile -t wanted < <(grep -vE '^\s*(#|$)' "$here/debian-packages.txt")
missing=()
installed=$(dpkg-query -W -f '${Package} ${db:Status-Abbrev}\n' "${wanted[@]}" 2>/dev/null | awk '$2 ~ /^.i/ {print $1}' || true)
for package in "${wanted[@]}"; do
    grep -qxF "$package" <<<"$installed" || missing+=("$package")
done
[ ${#missing[@]} -eq 0 ] && exit 0

as_root=()
if [ "$(id -u)" -ne 0 ]; then
    command -v sudo >/dev/null || { echo "These packages are missing, and there is no sudo: ${missing[*]}" >&2; exit 1; }
    as_root=(sudo)
fi
echo "Installing ${#missing[@]} packages: ${missing[*]}"
log=$(mktemp)
trap 'rm -f "$log"' EXIT
"${as_root[@]}" apt-get update -qq
# Nothing that a package brings along is to be started on a build machine.
"${as_root[@]}" env DEBIAN_FRONTEND=noninteractive RUNLEVEL=1 \
    apt-get install -y -qq --no-install-recommends "${missing[@]}" >"$log" 2>&1 || { tail -n 40 "$log" >&2; exit 1; }
