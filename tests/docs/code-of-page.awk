# Writes the code that a page shows: awk -v folder=FOLDER -f code-of-page.awk PAGE. The blocks of one
# language below one heading become FOLDER/HEADING.LANGUAGE ("checking-it.sh").
BEGIN { fence = "^ *```" }
!inside && /^#+ / {
  heading = tolower($0)
  gsub(/[^a-z0-9]+/, "-", heading)
  gsub(/^-|-$/, "", heading)
}
inside && $0 ~ fence "$" { inside = 0; next }
inside { if (file) print substr($0, indent + 1) > file }
!inside && $0 ~ fence {
  inside = 1
  indent = index($0, "`") - 1
  language = substr($0, indent + 4)
  file = language == "" ? "" : folder "/" heading "." language
}
