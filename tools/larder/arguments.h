// The way of the user's arguments through the parser. CLI11 gives some words a meaning of its own
// that is wrong here: "++" ends a subcommand, "[a,b]" becomes a list, and behind "--" a word may
// still be taken for an option. Such words are shielded before parsing, and unshielded when taken
// out of the parser.
#pragma once

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

#include "platform/wide.h"

namespace larder::tool {

// Takes "--" out and shields what the parser would misread. arguments: without the program's name.
std::vector<std::string> ShieldArguments(const std::vector<std::string>& arguments);

std::string Unshield(const std::string& argument);

// A parser's message without the marks of shielding.
std::string UnshieldMessage(std::string message);

// The argument as wide text. Throws CLI::ValidationError, naming it, when it is no UTF-8.
WideString WideArgument(const std::string& name, const std::string& argument);

}  // namespace larder::tool
