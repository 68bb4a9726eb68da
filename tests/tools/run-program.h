// Starts a program as a user would and waits for its end. One source for each system.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace larder {

// Standard output and error go to two files, made anew or written over; standard input is empty.
// arguments: UTF-8, without the program's name. Gives the exit status, or the number of the signal
// that ended the program with a minus sign in front. Throws std::system_error if it can't be
// started.
int RunProgram(const std::filesystem::path& program, const std::vector<std::string>& arguments,
               const std::filesystem::path& output, const std::filesystem::path& errors);

// The same with a pipe as standard output that nobody reads from any more.
int RunProgramIntoClosedPipe(const std::filesystem::path& program,
                             const std::vector<std::string>& arguments,
                             const std::filesystem::path& errors);

}  // namespace larder
