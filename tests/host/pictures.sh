#!/usr/bin/env bash
# Each picture of the documentation was drawn from its source as it is now, by docs/draw, and a page shows it.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/../.."

for source in docs/*.dot; do
    picture=${source%.dot}.svg
    grep -qF "sha256 $(sha256sum "$source" | cut -d ' ' -f 1) " "$picture" ||
        { echo "$picture is not of $source as it is; type: docs/draw"; exit 1; }
    python3 -c 'import sys, xml.dom.minidom; xml.dom.minidom.parse(sys.argv[1])' "$picture"
    grep -qF "(${picture#docs/})" docs/*.md || { echo "no page shows $picture"; exit 1; }
done
