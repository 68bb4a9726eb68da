// What a process does in one round. Each begins and ends without a handle and with the library
// unloaded, except those that need a process of their own. Each throws Fault.
#pragma once

#include "soak/host-process.h"

namespace larder::soak {

// For any process.
void Cycle(HostProcess& host, Random& random);          // LarderInit and LarderRelease by threads
void LoadAndUnload(HostProcess& host, Random& random);  // with and without a handle
void MeetSignals(HostProcess& host, Random& random);    // calls while the installer signals
void FailToLoad(HostProcess& host, Random& random);     // modules fail by turns
void UseProduct(HostProcess& host, Random& random);     // the product's own providers

// For a process of its own.
void WriteMuch(HostProcess& host, Random& random);    // rotates the log, which others read
void FailWithLog(HostProcess& host, Random& random);  // the logger of a failed LarderInit stays
void LoseFolder(HostProcess& host, Random& random);   // the log's folder comes and goes
void Fork(HostProcess& host, Random& random);         // Linux without a sanitizer; else nothing

// The same until it is killed, with lines that must be in the log.
void LiveUntilKilled(HostProcess& host, Random& random);

}  // namespace larder::soak
