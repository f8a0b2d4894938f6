#include "image_metadata.h"

#include <gexiv2/gexiv2.h>

#include <algorithm>
#include <iterator>

namespace kowen::gimp {
namespace {

// What GIMP notes down of every image, and the JPEG says itself.
constexpr const char *kSaidByTheFile[] = {"Exif.Image.ImageWidth",    "Exif.Image.ImageLength",
                                          "Exif.Image.BitsPerSample", "Exif.Image.XResolution",
                                          "Exif.Image.YResolution",   "Exif.Image.ResolutionUnit"};
// Beside those it sets these, which are no reason for EXIF data either.
constexpr const char *kSaidOfAny[] = {"Exif.Image.Orientation", "Exif.Image.ExifTag",
                                      "Exif.Photo.ColorSpace"};

bool SaysSomething(GExiv2Metadata *tags) {
    bool says = false;
    gchar **names = gexiv2_metadata_get_exif_tags(tags);
    for (gchar **name = names; name != nullptr && *name != nullptr; ++name)
        says = says || std::none_of(std::begin(kSaidOfAny), std::end(kSaidOfAny),
                                    [&](const char *known) { return g_str_equal(known, *name); });
    g_strfreev(names);
    return says;
}

// The thumbnail may show the picture before it was edited, which nobody can tell from here.
void LeaveOut(GExiv2Metadata *tags) {
    gexiv2_metadata_try_erase_exif_thumbnail(tags, nullptr);
    for (const char *name : kSaidByTheFile)
        gexiv2_metadata_try_clear_tag(tags, name, nullptr);
}

// GIMP hands out a copy of an image's metadata.
std::vector<uint8_t> ExifOf(gint32 image) {
    GimpMetadata *metadata = gimp_image_get_metadata(image);
    std::vector<uint8_t> exif;
    if (metadata == nullptr)
        return exif;
    auto *tags = GEXIV2_METADATA(metadata);
    LeaveOut(tags);
    GBytes *bytes = SaysSomething(tags)
                        ? gexiv2_metadata_get_exif_data(tags, GEXIV2_BYTE_ORDER_LITTLE, nullptr)
                        : nullptr;
    if (bytes != nullptr) {
        gsize size = 0;
        const auto *data = static_cast<const uint8_t *>(g_bytes_get_data(bytes, &size));
        exif.assign(data, data + size);
        g_bytes_unref(bytes);
    }
    g_object_unref(metadata);
    return exif;
}

// Eight bits of linear light would show bands, so a linear profile is exchanged for the one with
// the same colours and the curve of sRGB, which the pixels are then delivered in.
GimpColorProfile *ProfileToDeliver(gint32 image, ImageMetadata *metadata) {
    GimpColorProfile *profile = gimp_image_get_color_profile(image);
    if (profile == nullptr || !gimp_color_profile_is_linear(profile))
        return profile;
    GimpColorProfile *curved = gimp_color_profile_new_srgb_trc_from_color_profile(profile);
    if (curved == nullptr)
        return profile;
    g_object_unref(profile);
    metadata->curved = true;
    return curved;
}

void AddProfile(gint32 image, ImageMetadata *metadata) {
    GimpColorProfile *profile = ProfileToDeliver(image, metadata);
    if (profile == nullptr)
        return;
    gsize size = 0;
    const guint8 *data = gimp_color_profile_get_icc_profile(profile, &size);
    metadata->icc.assign(data, data + size);
    metadata->profileName = gimp_color_profile_get_label(profile);
    g_object_unref(profile);
}

std::string CommentOf(gint32 image) {
    GimpParasite *parasite = gimp_image_get_parasite(image, "gimp-comment");
    std::string comment;
    if (parasite != nullptr)
        comment.assign(static_cast<const char *>(parasite->data), parasite->size);
    gimp_parasite_free(parasite);
    return comment.substr(0, comment.find('\0'));
}

} // namespace

ImageMetadata MetadataOf(gint32 image) {
    ImageMetadata metadata;
    metadata.exif = ExifOf(image);
    metadata.comment = CommentOf(image);
    AddProfile(image, &metadata);
    return metadata;
}

} // namespace kowen::gimp
