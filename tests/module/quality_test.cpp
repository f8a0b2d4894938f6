// Which of libjpeg's qualities has the filter's quantisation tables, as docs/settings.md tells.
#include "module/export_host.h"
#include "support/jpeg_decode.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <vector>

namespace {

using Tables = std::vector<int>; ///< the 128 quantisers of tables 0 and 1

Tables TablesOf(JQUANT_TBL *const tables[]) {
    Tables all;
    for (int i = 0; i < 2; ++i)
        all.insert(all.end(), tables[i]->quantval, tables[i]->quantval + 64);
    return all;
}

Tables LibjpegTables(int quality) {
    jpeg_compress_struct info = {};
    jpeg_error_mgr errors;
    info.err = jpeg_std_error(&errors);
    jpeg_create_compress(&info);
    info.in_color_space = JCS_RGB;
    info.input_components = 3;
    jpeg_set_defaults(&info);
    jpeg_set_quality(&info, quality, TRUE);
    const Tables tables = TablesOf(info.quant_tbl_ptrs);
    jpeg_destroy_compress(&info);
    return tables;
}

Tables TablesInFile(const ExportBytes &jpeg) {
    jpeg_decompress_struct info = {};
    jpeg_error_mgr errors;
    info.err = jpeg_std_error(&errors);
    jpeg_create_decompress(&info);
    jpeg_mem_src(&info, jpeg.data(), static_cast<unsigned long>(jpeg.size()));
    jpeg_read_header(&info, TRUE);
    const Tables tables = TablesOf(info.quant_tbl_ptrs);
    jpeg_destroy_decompress(&info);
    return tables;
}

int GreatestDifference(const Tables &a, const Tables &b) {
    int greatest = 0;
    for (size_t i = 0; i < a.size(); ++i)
        greatest = std::max(greatest, std::abs(a[i] - b[i]));
    return greatest;
}

TEST(Quality, HasTheTablesOfAnotherQualityOfLibjpegs) {
    constexpr struct {
        int quality, libjpegs, greatestDifference;
    } kRows[] = {{45, 24, 1}, {50, 26, 2}, {60, 32, 2}, {70, 42, 1}, {75, 50, 0}, {80, 59, 1},
                 {85, 68, 1}, {89, 75, 0}, {90, 77, 1}, {95, 86, 1}, {100, 95, 1}};
    const ExportHost host;
    for (const auto &row : kRows) {
        const ExportRun run = host.ExportToMemory(
            MakeFlat(16, 8, 0, 0, 0),
            MakeSettings(KOWEN_FORMAT_YCC422, KOWEN_OPERATION_SEQUENTIAL, row.quality));
        EXPECT_EQ(GreatestDifference(TablesInFile(run.jpeg), LibjpegTables(row.libjpegs)),
                  row.greatestDifference)
            << row.quality;
    }
}

} // namespace
