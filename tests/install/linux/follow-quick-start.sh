#!/usr/bin/env bash
# In the new Debian: runs the page's commands as root or as an ordinary user, as the page says, and
# checks what they print and what they leave behind.
set -euo pipefail
cd /quick-start
useradd --create-home user

# PART: runs the commands of this part of the page. What they print goes to a file, and to the log.
as_root() { bash -ex "on-linux-$1.sh" 2>&1 | tee "$1.out"; }
as_user() { (cd /home/user && runuser -u user -- bash -ex "/quick-start/on-linux-$1.sh") 2>&1 | tee "$1.out"; }
# PART PATTERN [COUNT]
expect() {
  local count
  count=$(grep -c -- "$2" "$1.out" || true)
  [[ $count -eq ${3:-1} ]] || { echo "$count times instead of ${3:-1} in $1: $2"; exit 1; }
}

# "larder check" counts threads, for which it needs /proc. An ordinary container can't mount that.
has_proc=true
if [[ ! -e /proc/self ]]; then
  has_proc=false
  echo "There is no /proc, so these commands of the page aren't run:"
  grep -E '^(larder check|ctest) ' on-linux-provider.sh
  sed -Ei '/^(larder check|ctest) /d' on-linux-provider.sh
fi

find / -xdev -not -path '/quick-start/*' -not -path '/proc/*' | sort >before
as_root install
as_user client
expect client '^LarderInit will return Success (0)$'
expect client "^$(sha256sum /usr/bin/env | cut -d ' ' -f 1)\$" 2
as_user provider
if $has_proc; then
  expect provider '^[ 1][0-9]  .* ok$' 18
  expect provider 'my-feed-keeps-the-rules .*Passed'
fi
expect provider '^type        4$'
expect provider '^LarderInit will return Success (0)$'
as_root remove
find / -xdev -not -path '/quick-start/*' -not -path '/proc/*' | sort >after
if comm -13 before after | grep -iE '^/[^h].*(larder|velmor)'; then
  echo "The packages left these files."
  exit 1
fi
