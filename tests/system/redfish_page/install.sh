#!/usr/bin/env bash
# Installs axe-core, which examines the setup page for what assistive technologies cannot use, with npm into
# a folder. It is not part of the project; accessibility_test.py skips itself without it.
#
# usage: install.sh FOLDER
set -euo pipefail

folder=$1
version=4.10.3
file=$folder/node_modules/axe-core/axe.min.js

if ! grep -qs "axe v$version" "$file"; then
  command -v npm >/dev/null || {
    echo "install.sh: npm is not installed; the setup page is not examined with axe-core" >&2
    exit 0
  }
  mkdir -p "$folder"
  npm install --prefix "$folder" --no-save --no-audit --no-fund --ignore-scripts --loglevel=error \
    "axe-core@$version" >/dev/null
fi
