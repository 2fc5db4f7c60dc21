// SPDX-License-Identifier: MIT
//
// lxcfc: shows, compares and measures the configuration of a server, directly and through the cache.
//
// Exit status: 0 on success, 1 if a command found differences or faults, 2 for errors and invalid options.
#ifndef XPROGRAM_H
#define XPROGRAM_H

#include <string>
#include <vector>

/// Runs the program.
/// @param arguments  in UTF-8, without the program's name
/// @return           the exit status
int LXRunProgram(std::vector<std::string> arguments);

#endif
