#!/bin/sh
# refused-names.sh CLIENT: the client must not query another file than the one that was named.
set -u
failed=0
refuse() {
  message=$("$client" "$1" 2>&1)
  status=$?
  if [ $status -ne 2 ] || [ "$message" != "Larder can't name this file" ]; then
    printf "'%s': exit status %s, printed: %s\n" "$1" "$status" "$message"
    failed=1
  fi
}

client=$1
refuse 'folder\file'
refuse "$(printf 'latin-1-\351')"
refuse "$(printf 'surrogates-\355\240\275\355\270\200')"  # as UTF-16 this is another name's U+1F600
exit $failed
