#!/usr/bin/env bash
# usage: build_docs.sh HEADER_FOLDER OUTPUT_FOLDER
#
# Builds the documentation of the public headers, which were copied to HEADER_FOLDER. Prints what is not
# documented or wrong, and fails if there is anything.
set -euo pipefail
DP_DOCS_SOURCE=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
DP_DOCS_HEADERS=$(cd "$1" && pwd)
mkdir -p "$2"
DP_DOCS_OUTPUT=$(cd "$2" && pwd)
export DP_DOCS_SOURCE DP_DOCS_HEADERS DP_DOCS_OUTPUT
# Pages of an earlier run would stay.
rm -rf "$DP_DOCS_OUTPUT/html"
# Descriptions come first on their pages, before the lists of members.
doxygen -l "$DP_DOCS_OUTPUT/default_layout.xml"
sed -e '/<detaileddescription /d' \
  -e 's|^\( *\)<briefdescription .*|\1<detaileddescription title="Description"/>|' \
  "$DP_DOCS_OUTPUT/default_layout.xml" >"$DP_DOCS_OUTPUT/layout.xml"
doxygen "$DP_DOCS_SOURCE/Doxyfile"
