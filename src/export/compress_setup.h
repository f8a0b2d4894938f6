// The encoder's preparations that follow the current setup.
#pragma once

#include <cstdint>

namespace kowen {

struct CompressEnv;
struct HuffmanEntry;
struct SetupRecord;

/// Sets the component count of a setup's header state by its colour format; an unknown format
/// leaves the count.
void SetComponentCount(SetupRecord &setup) noexcept;

/// Fills a fresh environment from the arguments and the current setup; see InitCompressEnvFor. The
/// component count is that of the setup's header state. Without a current setup the components
/// have full size and there are none.
///
/// colorFormat, operation  the setup's codes.
/// width, height           pixels and rows of the picture.
/// Returns 0.
///
/// Kept deliberately: the sampling factors follow the current setup's colour format, the padded
/// size the argument. Test: InitCompressEnv.SamplingFollowsTheSetupNotTheArgument.
int32_t InitCompressEnv(CompressEnv *env, int32_t colorFormat, int32_t operation, uint32_t width,
                        uint32_t height) noexcept;

/// CreateTblsFor with the current setup's operation, KOWEN_OPERATION_SEQUENTIAL without one.
/// Not on the export path.
int32_t CreateTbls(HuffmanEntry *const *tables) noexcept;

} // namespace kowen
