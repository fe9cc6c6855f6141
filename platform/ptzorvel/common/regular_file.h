// Small files that somebody else writes.
#pragma once

#include <optional>
#include <string>

// The whole of a regular file of at most `most` bytes; never waits, whatever stands in its place. None, and in
// `problem` the end of a sentence that the file begins, when it cannot be had.
std::optional<std::string> read_regular_file(const std::string &path, std::size_t most, std::string &problem);
