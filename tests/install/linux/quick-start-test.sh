#!/usr/bin/env bash
# Follows the quick start for Linux in a Debian 12 of its own, into which nothing else is installed,
# and then treats the packages as administrators do: quick-start-test.sh PAGE PACKAGES FOLDER
#
# The Debian is made in a temporary folder, by root or in a user namespace, and deleted again. An
# ordinary container will do, in which nothing can be mounted.
set -euo pipefail
page=$1 packages=$2 folder=$3
here=$(dirname "$0")

skip() {
  echo "SKIPPED: $*"
  exit 0
}
command -v mmdebstrap >/dev/null || skip "mmdebstrap isn't installed"

rm -rf "$folder"
mkdir -p "$folder/quick-start"
cp "$packages"/*.deb "$here/follow-quick-start.sh" "$here/try-packages.sh" "$folder/quick-start"
awk -v folder="$folder/quick-start" -f "$here/../../docs/code-of-page.awk" "$page"

# What runs in the new Debian gets none of this process's environment but how to reach the network.
inside='env --ignore-environment PATH=/usr/sbin:/usr/bin:/sbin:/bin ${http_proxy:+http_proxy="$http_proxy"} \
  ${https_proxy:+https_proxy="$https_proxy"} chroot "$1" bash'
mode=unshare status=0
if [[ $(id -u) -eq 0 ]]; then mode=root; fi
mmdebstrap --mode=$mode --variant=apt --format=null --dpkgopt=force-unsafe-io \
  --aptopt='Acquire::Retries "3"' --aptopt='Acquire::Languages "none"' \
  --customize-hook="copy-in '$folder/quick-start' /" \
  --customize-hook='echo "The root is made."' \
  --customize-hook="$inside /quick-start/follow-quick-start.sh" \
  --customize-hook="$inside /quick-start/try-packages.sh" \
  bookworm /dev/null >"$folder/log" 2>&1 </dev/null || status=$?
if ! grep -qx 'The root is made.' "$folder/log"; then
  tail -n 5 "$folder/log"
  skip "no Debian root could be made here; the log is $folder/log"
fi
if [[ $status -ne 0 ]]; then cat "$folder/log"; fi
exit $status
