// Looks at a saved JPEG with two decoders that share no code.
#pragma once

#include "saving.h"

#include "support/jpeg_decode.h"
#include "support/second_decoder.h"

namespace kowen::test {

/// What both decoders make of a file; they must agree about its size and components.
struct Seen {
    DecodedJpeg first;
    SecondDecoded second;
};

/// Insists that the save succeeded, that both decode the file without a remark and that the result
/// tells the same of it.
inline Seen Look(const Saved &saved) {
    EXPECT_EQ(saved.code, KOWEN_HOST_OK) << saved.result.message;
    EXPECT_EQ(saved.result.bytes, saved.bytes.size());
    Seen seen = {DecodeJpeg(saved.bytes), DecodeOtherwise(saved.bytes)};
    EXPECT_TRUE(seen.first.Clean()) << seen.first.error;
    EXPECT_EQ(seen.second.error, "");
    EXPECT_EQ(seen.first.width, seen.second.width);
    EXPECT_EQ(seen.first.height, seen.second.height);
    EXPECT_EQ(seen.first.components, seen.second.components);
    EXPECT_EQ(static_cast<int>(saved.result.width), seen.first.width);
    EXPECT_EQ(static_cast<int>(saved.result.height), seen.first.height);
    EXPECT_EQ(static_cast<int>(saved.result.components), seen.first.components);
    return seen;
}

} // namespace kowen::test
