// The commands of the tool. Each function adds one command to the command line; its source has the
// same name ("query/query-command.cpp").
#pragma once

#include "tools/larder/cli/command.h"

namespace larder::tool {

// larder setup: registers the providers of this installation.
void AddSetupCommand(const Command& top);

// larder status: what is on this machine, and what is wrong with it.
void AddStatusCommand(const Command& top);

// larder query: what a provider knows about files. A client of the library: uses its exports only.
void AddQueryCommand(const Command& top);

// larder scan: the facts of all files below folders. A client of the library, too.
void AddScanCommand(const Command& top);

// larder find: which files have a digest or a signer, from the file provider's store.
void AddFindCommand(const Command& top);

// larder log on | off | path | list | show: the log that the library writes to disk.
void AddLogCommand(const Command& top);

// larder trace start | stop | show: a session that records the lines of running programs.
void AddTraceCommand(const Command& top);

// larder notify: gives the installer's signal as an installer does, or waits for it as a client.
void AddNotifyCommand(const Command& top);

// larder registry list | get | set | delete: the library's part of the machine's registry.
void AddRegistryCommand(const Command& top);

// larder remove: deletes what an installation left on the machine.
void AddRemoveCommand(const Command& top);

// larder check: whether a provider module keeps the rules.
void AddCheckCommand(const Command& top);

// larder new provider: makes a folder with the project of a provider.
void AddNewCommand(const Command& top);

// larder complete: what may come next on a command line that a shell's user is typing. Not listed:
// the shells' completion calls it.
void AddCompleteCommand(const Command& top);

// larder print-manual: the options and commands as text of a manual page. Not listed: the build
// calls it.
void AddManualCommand(const Command& top);

// larder probe-provider: loads one provider module. Not listed: "status" runs it in a child
// process. Its source is status/provider-probe.cpp.
void AddProbeCommand(const Command& top);

}  // namespace larder::tool
