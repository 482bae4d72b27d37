#!/usr/bin/env bash
# Prints the report's page, which lacks nothing but its data: the template with its style, its script
# and the charting library, each with its terms in front. The page's policy names them by their
# hashes, so that nothing else runs in it.
# usage: assemble.sh (LIBRARY_FILE TERMS_FILE)...
set -euo pipefail
export LC_ALL=C
folder=$(dirname "${BASH_SOURCE[0]}")

library=
while [ $# -gt 0 ]; do
    terms=$(<"$2")
    library+="/*"$'\n'"${terms//'*/'/'* /'}"$'\n'"*/"$'\n'"$(<"$1")"$'\n'
    shift 2
done
script=$(cat "$folder/texts.js" "$folder/charts.js" "$folder/report.js")
style=$(<"$folder/report.css")

if grep -qi -e '</script' -e '<!--' <<<"$library$script"; then
    echo "assemble.sh: a script holds what would end its element" >&2
    exit 1
fi

# A text's source expression for the policy.
allowed() {
    printf %s "$1" | sha256sum | cut -c 1-64 | tr a-f A-F | basenc -d --base16 | base64 |
        sed "s/.*/'sha256-&'/"
}

allowed_library=$(allowed "$library")
allowed_script=$(allowed "$script")
allowed_style=$(allowed "$style")
page=$(<"$folder/report.html")
page=${page/@ALLOWED_SCRIPTS@/"$allowed_library $allowed_script"}
page=${page/@ALLOWED_STYLE@/"$allowed_style"}
page=${page/@STYLE@/"$style"}
page=${page/@LIBRARY@/"$library"}
page=${page/@SCRIPT@/"$script"}
printf '%s\n' "$page"
