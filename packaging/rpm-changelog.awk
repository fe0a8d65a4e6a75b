# A Debian changelog as RPM has it: the newest entry first, each with its date before its changes. -v release=... is
# that of the newest entry.
/^[a-z]/ { version = $2; gsub(/[()]/, "", version); changes = "" }
/^  / { line = $0; sub(/^  \* /, "- ", line); sub(/^    /, "  ", line); changes = changes line "\n" }
/^ -- / {
  who = $0; sub(/^ -- /, "", who); date = who
  sub(/  .*/, "", who); sub(/.*>  /, "", date)
  split(date, part, "[ ,]+")
  printf "* %s %s %s %s %s - %s-%s\n%s\n", part[1], part[3], part[2], part[4], who, version, release, changes
  release = 1
}
