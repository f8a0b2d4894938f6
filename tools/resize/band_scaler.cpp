#include "resize/band_scaler.h"

#include "byte_count.h"
#include "failure.h"

#include <zimg.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>

namespace kowen::cli {
namespace {

constexpr size_t kAlignment = 64; // of rows, for every instruction set
constexpr double kLanczosLobes = 3;
constexpr double kMitchell = 1.0 / 3; // both of its parameters
constexpr double kMitchellReach = 2;

struct FreeGraph {
    void operator()(zimg_filter_graph *graph) const { zimg_filter_graph_free(graph); }
};
using Graph = std::unique_ptr<zimg_filter_graph, FreeGraph>;

bool Smaller(const PixelSize &source, const PixelSize &result) {
    return result.width <= source.width && result.height <= source.height;
}

[[noreturn]] void FailScaling() {
    char text[256] = "";
    zimg_get_last_error(text, sizeof text);
    throw Failure(std::string("the picture cannot be resized: ") + text);
}

zimg_image_format PlainFormat(uint32_t width, uint32_t rows, size_t planes) {
    zimg_image_format format;
    zimg_image_format_default(&format, ZIMG_API_VERSION);
    format.width = width;
    format.height = rows;
    format.pixel_type = ZIMG_PIXEL_BYTE;
    format.color_family = planes == 1 ? ZIMG_COLOR_GREY : ZIMG_COLOR_RGB;
    format.matrix_coefficients = planes == 1 ? ZIMG_MATRIX_UNSPECIFIED : ZIMG_MATRIX_RGB;
    format.pixel_range = ZIMG_RANGE_FULL;
    return format;
}

Graph BuildGraph(const Band &band, size_t planes) {
    zimg_image_format from = PlainFormat(band.source.width, band.sourceRows, planes);
    const zimg_image_format to = PlainFormat(band.result.width, band.rows, planes);
    const double perRow = band.source.height / static_cast<double>(band.result.height);
    from.active_region.left = 0;
    from.active_region.width = band.source.width;
    from.active_region.top = band.firstRow * perRow - band.sourceFirst;
    from.active_region.height = band.rows * perRow;
    zimg_graph_builder_params params;
    zimg_graph_builder_params_default(&params, ZIMG_API_VERSION);
    params.cpu_type = ZIMG_CPU_AUTO_64B;
    if (Smaller(band.source, band.result)) {
        params.resample_filter = ZIMG_RESIZE_LANCZOS;
        params.filter_param_a = kLanczosLobes;
    } else {
        params.resample_filter = ZIMG_RESIZE_BICUBIC;
        params.filter_param_a = kMitchell;
        params.filter_param_b = kMitchell;
    }
    Graph graph(zimg_filter_graph_build(&from, &to, &params));
    if (!graph)
        FailScaling();
    return graph;
}

struct FreeMemory {
    void operator()(void *memory) const { std::free(memory); }
};

} // namespace

PlanarRows::PlanarRows(uint32_t pixels, uint32_t rowCount, size_t planeCount)
    : width(pixels), rows(rowCount), planes(planeCount),
      stride(BytesOf({(uint64_t{pixels} + kAlignment - 1) / kAlignment, kAlignment})),
      bytes(BytesOf({stride, rowCount, planeCount}) + kAlignment) {
    const auto address = reinterpret_cast<uintptr_t>(bytes.data());
    offset = (kAlignment - address % kAlignment) % kAlignment;
}

void PlanarRows::Put(const uint8_t *pixels, uint32_t row) {
    if (planes == 1) {
        std::memcpy(Row(0, row), pixels, width);
        return;
    }
    uint8_t *red = Row(0, row);
    uint8_t *green = Row(1, row);
    uint8_t *blue = Row(2, row);
    for (uint32_t x = 0; x < width; ++x, pixels += 3) {
        red[x] = pixels[0];
        green[x] = pixels[1];
        blue[x] = pixels[2];
    }
}

void PlanarRows::Take(uint8_t *pixels, uint32_t row) {
    if (planes == 1) {
        std::memcpy(pixels, Row(0, row), width);
        return;
    }
    const uint8_t *red = Row(0, row);
    const uint8_t *green = Row(1, row);
    const uint8_t *blue = Row(2, row);
    for (uint32_t x = 0; x < width; ++x, pixels += 3) {
        pixels[0] = red[x];
        pixels[1] = green[x];
        pixels[2] = blue[x];
    }
}

void PlanarRows::MoveUp(uint32_t from, uint32_t count) {
    for (size_t plane = 0; plane < planes; ++plane)
        std::memmove(Row(plane, 0), Row(plane, from), count * stride);
}

double KernelReach(const PixelSize &source, const PixelSize &result) {
    const double perRow = source.height / static_cast<double>(result.height);
    const double lobes = Smaller(source, result) ? kLanczosLobes : kMitchellReach;
    return lobes * std::max(1.0, perRow);
}

void ScaleBand(const Band &band, PlanarRows *from, PlanarRows *to) {
    const Graph graph = BuildGraph(band, from->Planes());
    size_t size = 0;
    if (zimg_filter_graph_get_tmp_size(graph.get(), &size) != ZIMG_ERROR_SUCCESS)
        FailScaling();
    size = (size + kAlignment) / kAlignment * kAlignment;
    const std::unique_ptr<void, FreeMemory> scratch(std::aligned_alloc(kAlignment, size));
    if (!scratch)
        throw Failure("not enough memory to resize the picture");
    zimg_image_buffer_const source = {ZIMG_API_VERSION, {}};
    zimg_image_buffer result = {ZIMG_API_VERSION, {}};
    for (size_t plane = 0; plane < from->Planes(); ++plane) {
        source.plane[plane] = {from->Row(plane, 0), static_cast<ptrdiff_t>(from->Stride()),
                               ZIMG_BUFFER_MAX};
        result.plane[plane] = {to->Row(plane, 0), static_cast<ptrdiff_t>(to->Stride()),
                               ZIMG_BUFFER_MAX};
    }
    if (zimg_filter_graph_process(graph.get(), &source, &result, scratch.get(), nullptr, nullptr,
                                  nullptr, nullptr) != ZIMG_ERROR_SUCCESS)
        FailScaling();
}

} // namespace kowen::cli
