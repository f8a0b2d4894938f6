#include "reference/color/median_cut.h"

#include <utility>

namespace kowen::reference {
namespace {

struct Entry {
    int key;
    int64_t count;
    int Channel(int axis) const { return key >> (10 - 5 * axis) & 31; }
};

struct Box {
    int first = 0, last = 0, axis = 0;
    int64_t total = 0;
    int mean[3] = {0, 0, 0};
};

constexpr int kFree = 65535, kDead = 65534;

void Measure(Box &box, const std::vector<Entry> &list, int first, int last) {
    int low[3] = {255, 255, 255}, high[3] = {0, 0, 0};
    int64_t sum[3] = {0, 0, 0};
    box = Box();
    box.first = first;
    box.last = last;
    for (int i = first; i <= last; ++i) {
        box.total += list[i].count;
        for (int c = 0; c < 3; ++c) {
            const int v = list[i].Channel(c);
            sum[c] += v * list[i].count;
            if (v < low[c])
                low[c] = v;
            if (v > high[c])
                high[c] = v;
        }
    }
    int range = high[0] - low[0];
    for (int c = 1; c < 3; ++c) {
        if (high[c] - low[c] > range) {
            box.axis = c;
            range = high[c] - low[c];
        }
    }
    for (int c = 0; c < 3; ++c)
        box.mean[c] = box.total != 0 ? static_cast<int>(sum[c] / box.total) : 0;
}

void SiftDown(std::vector<Entry> &list, int base, int axis, int parent, int last) {
    for (;;) {
        const int left = 2 * parent + 1, right = left + 1;
        if (left > last)
            return;
        int child = left;
        if (right <= last && !(list[base + left].Channel(axis) > list[base + right].Channel(axis)))
            child = right;
        if (!(list[base + parent].Channel(axis) < list[base + child].Channel(axis)))
            return;
        std::swap(list[base + parent], list[base + child]);
        parent = child;
    }
}

void Sort(std::vector<Entry> &list, int base, int axis, int n) {
    for (int i = (n - 2) / 2; i >= 0; --i)
        SiftDown(list, base, axis, i, n);
    for (int i = n - 1; i >= 1; --i) {
        std::swap(list[base], list[base + i]);
        SiftDown(list, base, axis, 0, i - 1);
    }
}

int Median(const std::vector<Entry> &list, const Box &box) {
    const int f = box.first, l = box.last;
    if (l - f <= 1)
        return f;
    int64_t total = 0;
    for (int i = f; i <= l; ++i)
        total += list[i].count;
    const int64_t half = total / 2;
    int i = f;
    int64_t c = list[f].count;
    while (c < half) {
        i += 1;
        c += list[i].count;
    }
    int hi = i, lo = i;
    int64_t cHi = c, cLo = c;
    while (hi < l && list[hi].Channel(box.axis) == list[hi + 1].Channel(box.axis)) {
        hi += 1;
        cHi += list[hi].count;
    }
    while (lo > f && list[lo].Channel(box.axis) == list[lo + 1].Channel(box.axis)) {
        lo -= 1;
        cLo -= list[lo].count;
    }
    return half - cLo > cHi - half ? hi : lo;
}

int NextFree(const std::vector<int> &slots, size_t from) {
    for (size_t i = from; i < slots.size(); ++i)
        if (slots[i] == kFree)
            return static_cast<int>(i);
    return static_cast<int>(slots.size()) - 1;
}

void Split(std::vector<Box> &boxes, std::vector<int> &slots, const std::vector<Entry> &list, int k,
           int m) {
    const int f = boxes[k].first, l = boxes[k].last;
    const int j = NextFree(slots, 0);
    if (m == f) {
        slots[j] = kDead;
        Measure(boxes[j], list, f, m);
    } else {
        slots[j] = j;
        Measure(boxes[j], list, f, m == l ? m - 1 : m);
    }
    const int j2 = NextFree(slots, static_cast<size_t>(j) + 1);
    if (m == l) {
        slots[j2] = kDead;
        Measure(boxes[j2], list, m, l);
    } else {
        slots[j2] = l == m + 1 ? kDead : j2;
        Measure(boxes[j2], list, m + 1, l);
    }
    slots[k] = kFree;
}

uint8_t Wide(int channel5) {
    return static_cast<uint8_t>(channel5 != 0 ? channel5 * 8 | 7 : 0);
}

} // namespace

Bytes ReduceColours(const Bytes &pixels, uint32_t width, uint32_t height, uint16_t wanted) {
    std::vector<int64_t> histogram(32768, 0);
    for (uint32_t y = 0; y < height; ++y) {
        for (uint32_t x = 0; x < width; ++x) {
            const uint8_t *p = &pixels[static_cast<size_t>(y) * BytesPerLine(width, 24) + 3 * x];
            int64_t &count = histogram[(p[0] >> 3) << 10 | (p[1] >> 3) << 5 | p[2] >> 3];
            if (count < 65535)
                ++count;
        }
    }
    std::vector<Entry> list;
    for (int key = 0; key < 32768; ++key)
        if (histogram[key] != 0)
            list.push_back({key, histogram[key]});
    Bytes table;
    if (list.size() < wanted) {
        for (const Entry &entry : list)
            for (int c = 0; c < 3; ++c)
                table.push_back(Wide(entry.Channel(c)));
        return table;
    }
    if (wanted == 0)
        return table;
    const int last = static_cast<int>(list.size()) - 1;
    list.push_back({0, 0});
    std::vector<Box> boxes(wanted);
    std::vector<int> slots(wanted, kFree);
    slots[0] = 0;
    Measure(boxes[0], list, 0, last);
    for (int count = 1; count < wanted - 1; ++count) {
        int k = 0;
        int64_t largest = 0;
        for (int i = 0; i < wanted; ++i) {
            if (slots[i] < kDead && boxes[i].total > largest) {
                largest = boxes[i].total;
                k = i;
            }
        }
        Sort(list, boxes[k].first, boxes[k].axis, boxes[k].last - boxes[k].first + 1);
        Split(boxes, slots, list, k, Median(list, boxes[k]));
    }
    for (const Box &box : boxes)
        for (int c = 0; c < 3; ++c)
            table.push_back(Wide(box.mean[c]));
    return table;
}

} // namespace kowen::reference
