#!/usr/bin/env bash
# A real second user can do to the daemon what docs/security.md says, and no more.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/../.."

tests/hostile/local-user
