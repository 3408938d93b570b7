#!/bin/bash
# What people script who have no search program: one reader for each file, and grep behind it.
#     extract_each.sh FOLDER WORDS      prints the documents that hold the words
find "$1" -type f -print0 | while IFS= read -r -d '' file; do
    case "$file" in
        *.pdf) pdftotext "$file" - ;;
        *.rtf | *.doc) catdoc -d utf-8 "$file" ;;
        *.docx | *.xlsx | *.pptx | *.od? | *.epub) unzip -p "$file" '*.xml' '*.xhtml' '*.html' | sed 's/<[^>]*>/ /g' ;;
        *) sed 's/<[^>]*>/ /g' "$file" ;;
    esac 2>/dev/null | grep -q -i -F -- "$2" && printf '%s\n' "$file"
done
exit 0
