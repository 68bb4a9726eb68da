#!/usr/bin/env bash
# In the new Debian: what the packages' scripts do with what an administrator has set.
set -euo pipefail
cd /quick-start
registry=/etc/larder/registry/Software/Velmor/Larder

# EXPECTED COMMAND...
prints() {
  local found
  found=$("${@:2}") || true
  [[ $found == "$1" ]] || { echo "${*:2} prints: $found, instead of: $1"; exit 1; }
}
module() { larder registry get "DataProviders\\$1" szDLL 2>/dev/null; }
location() { larder registry get Install szLocation; }

echo "The trace session's package brings what it needs"
apt-get install -y --no-install-recommends ./*.deb
prints 'trace       ready' bash -c 'larder status | grep "^trace"'

echo "An upgrade keeps what was changed, and lowers the event again that it raises"
package_location=$(location)
larder registry delete 'DataProviders\FeedStats' szDLL
dpkg -i ./*.deb
prints '' module FeedStats
prints upgrade larder registry get Install szMessage
prints '' ls /run/larder/events

echo "A removal keeps settings and unregisters, and another installation registers again"
larder registry set 'DataProviders\FeedFile' Setting text
dpkg -r larder
prints '' find $registry -iname 'szDLL.value' -o -iname 'szLocation.value'
prints '' ls /run/larder/events
dpkg -i larder_*.deb
prints feed-file.dll module FeedFile
prints text larder registry get 'DataProviders\FeedFile' Setting

echo "The machine root and the program in an administrator's environment don't count"
mkdir /tmp/machine /tmp/bin
ln -s /bin/false /tmp/bin/larder
PATH=/tmp/bin:$PATH LARDER_ROOT=/tmp/machine dpkg -r larder
prints '' find $registry -iname 'szDLL.value'
PATH=/tmp/bin:$PATH LARDER_ROOT=/tmp/machine dpkg -i larder_*.deb
prints feed-file.dll module FeedFile

echo "Another installation's registry stays"
larder registry set Install szLocation '\opt\other\'
larder registry delete 'DataProviders\FeedFile'
larder registry delete 'DataProviders\FeedStats'
dpkg -i ./*.deb
prints '\opt\other\' location
prints '' module FeedFile
dpkg --purge larder
prints "$registry/Install/szLocation.value" find $registry -iname 'szLocation.value'
rm -r /etc/larder /var/lib/Velmor

echo "An installation that failed can be finished"
mkdir /var/lib/Velmor
chown user /var/lib/Velmor
if dpkg -i larder_*.deb; then
  echo "the package was installed with a data folder that an ordinary user owns"
  exit 1
fi
rmdir /var/lib/Velmor
dpkg --configure larder
prints "$package_location" location

dpkg --purge larder larder-lttng liblarder-dev liblarder0
prints '' find /etc /var/lib /run /usr -path /var/lib/dpkg/info -prune -o -iname '*larder*' -print -o -iname velmor -print
