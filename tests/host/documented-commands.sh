#!/usr/bin/env bash
# The commands that the README and the pages of docs/ show do what is shown, and every link between the pages leads somewhere.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/../.."

pages=(README.md CHANGELOG.md docs/*.md packaging/README.md)
missing=0
for page in "${pages[@]}" lab/README.md platform/README.md; do
    while read -r target; do
        [ -e "$(dirname "$page")/$target" ] || { echo "$page: there is no $target"; missing=1; }
    done < <(grep -oE '\]\([^)#:]+' "$page" | cut -c3-)
done
[ "$missing" = 0 ]

python3 tests/host/support/pages.py "${pages[@]}"
