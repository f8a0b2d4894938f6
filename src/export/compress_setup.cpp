#include "export/compress_setup.h"

#include "jpeg/compress_env.h"
#include "jpeg/huffman_tables.h"
#include "setup/setup.h"

namespace kowen {

void SetComponentCount(SetupRecord &setup) noexcept {
    if (setup.colorFormat == KOWEN_FORMAT_GREY)
        setup.header.componentCount = 1;
    else if (setup.colorFormat == KOWEN_FORMAT_YCC422 || setup.colorFormat == KOWEN_FORMAT_RGB444)
        setup.header.componentCount = 3;
}

int32_t InitCompressEnv(CompressEnv *env, int32_t colorFormat, int32_t operation, uint32_t width,
                        uint32_t height) noexcept {
    PictureFormat format = {colorFormat, 0, operation, 0};
    if (lpRaster) {
        format.sampledFormat = lpRaster->colorFormat;
        format.componentCount = lpRaster->header.componentCount;
    }
    InitCompressEnvFor(env, format, width, height);
    return 0;
}

int32_t CreateTbls(HuffmanEntry *const *tables) noexcept {
    return CreateTblsFor(tables, lpRaster ? lpRaster->operation : KOWEN_OPERATION_SEQUENTIAL);
}

} // namespace kowen
