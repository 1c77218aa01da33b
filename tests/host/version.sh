#!/usr/bin/env bash
# The version stands in one place: the change log begins with it, and the programs tell it.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/../.."

version=$(sed -nE 's/^project\(halvorixd VERSION ([0-9.]+) .*/\1/p' CMakeLists.txt)
[ -n "$version" ] || { echo "CMakeLists.txt tells no version"; exit 1; }
newest=$(grep -m 1 '^## ' CHANGELOG.md)
[ "$newest" = "## $version" ] || { echo "CHANGELOG.md begins with '$newest' and not with $version"; exit 1; }
for program in halvorixevents halvorixstatus labctl; do
    told=$("build/native/bin/$program" --version)
    [ "$told" = "$program $version" ] || { echo "$program --version tells '$told' and not $version"; exit 1; }
done
