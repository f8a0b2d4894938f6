// What the help says behind the options.
#pragma once

namespace kowen::cli {

inline constexpr const char *kExitNotes =
    "Exit status: 0 done, 1 failed (one picture at least), 2 wrong usage; ended by a signal 130\n"
    "(Ctrl-C), 143 (terminated), 129 (hung up) or 141 (nobody reads the standard output).\n";

inline constexpr const char *kExportNotes =
    "Where the files go:\n"
    "  kowen export a.png b.tif          a.jpg and b.jpg beside them\n"
    "  kowen export a.png b.tif --to X   X/a.jpg and X/b.jpg\n"
    "  kowen export -r photos --to X     the pictures in the folder and below it, in the same\n"
    "                                    folders below X\n"
    "  kowen export a.png -o b.jpg       that file; a JPEG of that name is replaced\n"
    "  kowen export a.png b.jpg          that file, if there is none yet\n"
    "  kowen export a.png -              the standard output; - also stands for the standard\n"
    "                                    input\n"
    "  A file that is no JPEG is never replaced, a JPEG only with -o, --force or --update, and "
    "none\n"
    "  of the pictures of the export ever. A file appears under its name only when it is whole. -o "
    "takes\n"
    "  names that end as JPEGs do, with --force any name.\n"
    "  Of folders JPEGs are taken with --to only, and only those without a picture of another\n"
    "  format and the same name beside them.\n"
    "\n"
    "Pictures come out as they went in: the colours as exactly as the format has them, the size "
    "to\n"
    "the pixel, upright, transparency over the background; EXIF data and colour profile are kept.\n"
    "With --as-filter the filter's own way holds: its colours, heights rounded up to even ones, "
    "no\n"
    "metadata.\n"
    "\n"
    "Sizes:\n"
    "  --resize changes the pixels, smoothly: 1200x is 1200 wide, x800 is 800 high, 1200x800 fits\n"
    "  into that box, 50% is half of each side. The proportions stay; --dpi then only states the\n"
    "  resolution, and a profile's size is passed over.\n"
    "  --size fits the picture into a box on paper, at the resolution of --dpi: A4, letter,\n"
    "  10x15cm, 6x4in; the box is turned as the picture. Pixels, 640x480px or 640x480, are not\n"
    "  turned. There the filter adds pixels by repeating them and takes them away by dropping "
    "them.\n"
    "  --dpi N alone keeps the size in inches; a picture that has none keeps its pixels, and\n"
    "  --resize 100% keeps those of any. Profiles and --as-filter take 32 to 400.\n"
    "\n"
    "With --json every picture is one line with one object, failures too.\n";

inline constexpr const char *kEstimateNotes =
    "For each quality: the size of the file, how near it comes to the picture (PSNR in decibels,\n"
    "more is nearer), the time, and what libjpeg makes of the same pixels with the same tables.\n"
    "--max-bytes adds the highest quality that fits.\n"
    "Nothing is written but the PNG of --compare: the original, the JPEG at --quality, and what\n"
    "differs, eight times as strong, side by side. It replaces no file.\n";

inline constexpr const char *kSetupNotes =
    "Settings: quality=N, progressive=yes, colour=ycc422, colour-mode=grey, size=6x4in, dpi=300;\n"
    "'kowen help export' explains them. Applications that use the filter read the same files.\n";

inline constexpr const char *kSelftestNotes =
    "Exports a hundred small pictures of every kind with each variant of the filter that this "
    "processor\n"
    "runs, and compares every byte with what it must be. No file is written. The last line is for\n"
    "a report of a fault. The exit status is 1 when one of them is wrong or not done in 60 "
    "seconds.\n";

} // namespace kowen::cli
