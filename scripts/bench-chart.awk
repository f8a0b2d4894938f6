# Draws the ratios of several tables of scripts/bench as a chart, an SVG that is readable on light
# and dark pages.
#
# Files are named CLASS.table; of each, the cases below beside libjpeg-turbo are drawn. arm64.table
# is that of --instructions, whose ratios are the other way round.

function add(class, name, ratio) {
    if (!(class in ratios_of)) classes[++class_count] = class
    ratios_of[class] = 1
    ratio_of[class, name] = ratio
    if (ratio > greatest) greatest = ratio
}

function trimmed(text) {
    gsub(/^ +| +$/, "", text)
    return text
}

function text(x, y, class, words) {
    printf "<text x=\"%.1f\" y=\"%.1f\"%s>%s</text>\n", x, y,
        class == "" ? "" : " class=\"" class "\"", words
}

function heading() {
    printf "<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 %d %d\" role=\"img\"\n", width, height
    print "  aria-label=\"Speed as a multiple of libjpeg-turbo's, by instruction set\">"
    print "<style>"
    print "svg { font: 13px system-ui, sans-serif; color-scheme: light dark; }"
    print "text { fill: #1f2328; } .note { fill: #59636e; font-size: 12px; } .end { text-anchor: end; }"
    print ".head { font-weight: 600; } rect { fill: #2f6fb3; } .one { stroke: #c4453c; }"
    print "@media (prefers-color-scheme: dark) {"
    print "  text { fill: #e6edf3; } .note { fill: #9198a1; } rect { fill: #6ea8e0; } .one { stroke: #f0766d; }"
    print "}"
    print "</style>"
}

function bars(class, y,   i, name, long) {
    text(8, y + 2, "head", title[class])
    for (i = 1; i <= case_count; ++i) {
        name = cases[i]
        if (!((class, name) in ratio_of)) continue
        y += step
        long = ratio_of[class, name] * unit
        text(left - 8, y, "end", label[name])
        printf "<rect x=\"%d\" y=\"%.1f\" width=\"%.1f\" height=\"12\" rx=\"2\" fill=\"#2f6fb3\"/>\n", left, y - 10, long
        text(left + long + 6, y, "", sprintf("%.2f", ratio_of[class, name]))
    }
}

BEGIN {
    case_count = split("422 q75|422 q100|grey q75|222 q75", cases, "|")
    label["422 q75"] = "4:2:2, quality 75"
    label["422 q100"] = "4:2:2, quality 100"
    label["grey q75"] = "grey, quality 75"
    label["222 q75"] = "full-size, quality 75"
    title["avx512"] = "AVX-512 with VBMI2"
    title["avx2"] = "AVX2"
    title["sse41"] = "SSE4.1"
    title["scalar"] = "without vectors"
    title["arm64"] = "64-bit ARM, by instructions"
}

FNR == 1 {
    class = FILENAME
    sub(/.*\//, "", class)
    sub(/\.table$/, "", class)
}
class == "arm64" && $4 ~ /^[0-9.]+$/ {
    name = $1
    sub(/-/, " q", name)
    if (name in label) add(class, name, $3 / $2)
}
class != "arm64" && trimmed(substr($0, 28, 24)) == "libjpeg-turbo" {
    name = trimmed(substr($0, 1, 26))
    if (name in label) add(class, name, substr($0, 75, 7) + 0)
}

END {
    step = 18
    left = 160
    width = 640
    group = (case_count + 1) * step + 14
    height = class_count * group + 34
    unit = (width - left - 60) / greatest
    heading()
    for (i = 1; i <= class_count; ++i) bars(classes[i], 20 + (i - 1) * group)
    printf "<path class=\"one\" stroke-dasharray=\"3 3\" d=\"M%.1f 8V%d\"/>\n", left + unit, height - 26
    text(left + unit + 5, height - 10, "note", "1: libjpeg-turbo held to the same instructions")
    print "</svg>"
}
