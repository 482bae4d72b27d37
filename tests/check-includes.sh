#!/usr/bin/env bash
# Tells every #include that folders.txt does not allow, with its place and both folders.
# usage: check-includes.sh REPOSITORY
set -euo pipefail

table=$(realpath "$(dirname "$0")")/folders.txt
cd "$1"
files=$(find . -mindepth 1 \( -path ./build -o -name '.?*' \) -prune -o \
    \( -name '*.h' -o -name '*.cc' \) -printf '%P\n' | LC_ALL=C sort)
awk -v files="$files" '
    # The folder of the table that a file is in; "": none.
    function folder_of(file) {
        while (sub("/[^/]*$", "", file)) {
            if (file in allowed) {
                return file
            }
        }
        return ""
    }

    # Whether the words, of a line of the table, name the header.
    function names(words, header,    list, n, found) {
        n = split(words, list, " ")
        found = 0
        for (; n > 0; --n) {
            if (list[n] == "!" header) {
                return 0
            }
            if (list[n] == "*" || list[n] == header || list[n] == folder_of(header) ||
                    (list[n] ~ "/$" && index(header, list[n]) == 1)) {
                found = 1
            }
        }
        return found
    }

    function check(file, number, header,    own, words, parent) {
        if (!(header in exists) && !names(all, header)) {
            return  # of a library that is for everyone
        }
        own = folder_of(file)
        words = own
        for (parent = own "/"; sub("/[^/]*$", "", parent); ) {
            words = words " " allowed[parent] (file ~ "[.]cc$" ? " " sources[parent] : "")
        }
        if (own == "" || !names(words, header)) {
            printf "%s:%d: %s may not include %s: %s\n", file, number,
                own == "" ? "a folder that is not in the table" : own,
                folder_of(header) == "" ? "a library" : "from " folder_of(header), header
            failed = 1
        }
    }

    /^#/ || NF == 0 { next }
    {
        folder = $1
        $1 = ""
        split($0, parts, "sources:")
        allowed[folder] = parts[1]
        sources[folder] = parts[2]
        for (i = 2; i <= NF; ++i) {
            if ($i != "*" && $i != "sources:" && $i !~ "^!") {
                all = all " " $i
            }
        }
    }

    END {
        count = split(files, file, "\n")
        for (i = 1; i <= count; ++i) {
            exists[file[i]] = 1
        }
        for (i = 1; i <= count; ++i) {
            for (number = 1; (getline line < file[i]) > 0; ++number) {
                if (line ~ "^[ \t]*#[ \t]*include[ \t]*[<\"]") {
                    ++includes
                    header = line
                    sub("^[^<\"]*[<\"]", "", header)
                    sub("[>\"].*", "", header)
                    # Relative to its own folder, as the compiler looks first.
                    beside = file[i]
                    sub("[^/]*$", header, beside)
                    while (sub("[^/]+/[.][.]/", "", beside)) {
                    }
                    check(file[i], number, beside in exists ? beside : header)
                }
            }
            close(file[i])
        }
        print includes + 0 " includes in " count " files"
        exit failed || includes == 0
    }' "$table"
