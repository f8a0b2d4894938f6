#include "selftest/trial.h"

#include "golden/golden_host.h"
#include "host_library.h"
#include "selftest/apart.h"
#include "selftest/checksum.h"

#include <cstdlib>
#include <exception>

namespace kowen::cli {
namespace {

// What the process says of each export, in order; a failure to begin is told in words.
constexpr char kRight = '+';
constexpr char kWrong = '-';

void MakeExports(const Saying &say, const std::string &modulePath,
                 const std::vector<golden::Export> &exports) {
    const golden::Host host(FileNameOf(modulePath));
    for (const golden::Export &what : exports)
        say({Sha256(host.Make(what)) == what.digest ? &kRight : &kWrong, 1});
}

void ChooseVariant(const std::string &variant) {
    if (variant.empty())
        unsetenv("KOWEN_KERNELS");
    else
        setenv("KOWEN_KERNELS", variant.c_str(), 1);
}

} // namespace

Trial TryVariant(const std::string &modulePath, const std::string &variant,
                 const std::vector<golden::Export> &exports) {
    const ApartEnd end = RunApart([&](const Saying &say) {
        ChooseVariant(variant);
        try {
            MakeExports(say, modulePath, exports);
        } catch (const std::exception &failure) {
            say(failure.what());
        }
    });
    Trial trial;
    trial.variant = variant;
    size_t tried = 0;
    for (; tried < end.said.size() && tried < exports.size(); ++tried) {
        if (end.said[tried] == kRight)
            ++trial.right;
        else if (end.said[tried] == kWrong)
            trial.wrong.push_back(exports[tried].name);
        else
            break;
    }
    const std::string words = end.said.substr(tried);
    if (end.status == 0 && !words.empty())
        trial.ended = words;
    else if (end.status != 0 || tried < exports.size())
        trial.ended = HowItEnded(end.status);
    return trial;
}

} // namespace kowen::cli
