#pragma once

#include <iosfwd>
#include <string>

#include "present/description.h"

/// The object with a "schema" number in front.
Json WithSchema(const Json& object);

/// Prints JSON for programs, each object of the outermost level with a "schema" number in front. The number
/// changes when a key changes its meaning or goes away. Text that is not UTF-8 is replaced.
void PrintJson(std::ostream& out, const Json& result, int indent = 2);

/// A name with blanks behind it, for the first column of a list, safe for a terminal.
std::string NameColumn(const std::string& name);

/// Breaks the lines of a help text at `columns`, continuing each under its description.
std::string Wrapped(const std::string& help, std::size_t columns);
/// The width of the terminal on standard output; 80 where it is unknown, 110 at most.
std::size_t TerminalColumns();
