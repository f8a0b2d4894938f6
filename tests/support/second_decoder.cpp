#include "support/second_decoder.h"

#define STB_IMAGE_IMPLEMENTATION
#define STB_IMAGE_STATIC
#define STBI_ONLY_JPEG
#define STBI_NO_STDIO
#define STBI_NO_LINEAR
#include <stb/stb_image.h>

namespace kowen::test {

SecondDecoded DecodeOtherwise(const std::vector<uint8_t> &jpeg) {
    SecondDecoded decoded;
    uint8_t *pixels =
        stbi_load_from_memory(jpeg.data(), static_cast<int>(jpeg.size()), &decoded.width,
                              &decoded.height, &decoded.components, 0);
    if (pixels == nullptr) {
        decoded.error = stbi_failure_reason();
        return decoded;
    }
    decoded.pixels.assign(pixels, pixels + static_cast<size_t>(decoded.width) * decoded.height *
                                               decoded.components);
    stbi_image_free(pixels);
    return decoded;
}

} // namespace kowen::test
