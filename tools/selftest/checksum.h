// SHA-256, in hexadecimal digits.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace kowen::cli {

std::string Sha256(const std::vector<uint8_t> &bytes);

/// Throws Failure when the file cannot be read.
std::string Sha256OfFile(const std::string &path);

} // namespace kowen::cli
