#!/bin/sh
# What Doxygen reads of a file: comments of headers in its own form, headings of functions with the anchors that the links of
# Markdown have, and one above them, which it wants for sections within sections.
case $1 in
*.md) awk -v page="$(basename "$1" .md)" '/^#+ `?tarnm[A-Za-z0-9_]+`?$/ { name = $2; gsub(/`/, "", name); print $0 " {#" tolower(name) "}"; next }
    /^## Members$/ { print $0 " {#members-of-" tolower(page) "}"; next } { print }' "$1" ;;
*) sed -e 's|^\( *\)// |\1/// |' -e 's|^\( *\)/\* |\1/** |' "$1" ;;
esac
