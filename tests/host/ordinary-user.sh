#!/usr/bin/env bash
# The sandbox works for an ordinary user: a program runs in it as the simulated Mac's root.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/../.."

# A copy that anybody may read, wherever the checkout is.
copy=$(mktemp -d)
trap 'rm -rf "$copy"' EXIT
mkdir -p "$copy/build/native/bin"
cp -R lab "$copy/lab"
cp -R build/native/bin/. "$copy/build/native/bin/"
chmod -R a+rX "$copy"

as_ordinary_user() {
    if [ "$(id -u)" = 0 ]; then
        setpriv --reuid 65534 --regid 65534 --clear-groups env HOME=/ TMPDIR=/tmp "$@"
    else
        "$@"
    fi
}

seen=$(as_ordinary_user "$copy/lab/sandbox" --build "$copy/build/native" -- /host/usr/bin/id -u)
[ "$seen" = 0 ] || { echo "uid $seen inside"; exit 1; }

as_ordinary_user "$copy/lab/run-test" "$copy/build/native" "$copy/build/native/bin/daemon-relay-tests" \
    --gtest_filter='Relay.TypesUpTo2AndNegativeOnesReachNobody'
