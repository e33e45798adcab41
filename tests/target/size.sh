#!/usr/bin/env bash
# size.sh SIZE LIBRARY KIBIBYTES: the library's code and data take less. SIZE is the program of that name.
set -euo pipefail

read -r text data _ < <("$1" "$2" | tail -n 1)
echo "$text bytes of code and constants, $data of data"
if [ "$((text + data))" -ge "$(($3 * 1024))" ]; then
    echo "FAILED: together that is $3 KiB or more"
    exit 1
fi
