// SPDX-License-Identifier: MIT
#ifndef XMANUAL_H
#define XMANUAL_H

#include <CLI/CLI.hpp>

/// The program's manual page ("man") or its shell completion ("bash"), generated from the declared commands and
/// options.
std::string LXManual(const CLI::App& app, const std::string& form);

#endif
