#!/usr/bin/env bash
# Runs a program in a simulated Mac that has, beside its own, what starting a service with the system takes.
#
# usage: in-machine.sh PROGRAM ARGUMENT...
set -euo pipefail

# Another program of the same machine may have made it.
link() { ln -s "$1" "$2" 2>/dev/null || [ -e "$2" ]; }
link /host/usr/bin/mkdir /bin/mkdir
link /machine/support/killall /usr/bin/killall
link /machine/support/rc.common /etc/rc.common
exec "$@"
