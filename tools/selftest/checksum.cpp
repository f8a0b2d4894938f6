#include "selftest/checksum.h"

#include "failure.h"

#include <cerrno>
#include <sha2.h>

namespace kowen::cli {

std::string Sha256(const std::vector<uint8_t> &bytes) {
    char digits[SHA256_DIGEST_STRING_LENGTH];
    SHA256Data(bytes.data(), bytes.size(), digits);
    return digits;
}

std::string Sha256OfFile(const std::string &path) {
    char digits[SHA256_DIGEST_STRING_LENGTH];
    if (SHA256File(path.c_str(), digits) == nullptr)
        FailWith(path, errno);
    return digits;
}

} // namespace kowen::cli
