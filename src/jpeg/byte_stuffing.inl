// Byte stuffing by vectors. Included by the kernels of each instruction set behind its vectors.

constexpr uint32_t kStuffSlack = Bytes::kCount;

inline uint8_t *StuffBytes(const uint8_t *bytes, const uint8_t *end, uint8_t *out) {
    while (bytes < end) {
        const Bytes next = Bytes::Load(bytes);
        next.Store(out);
        const uint32_t first = next.FirstOf255();
        if (static_cast<intptr_t>(first) >= end - bytes)
            return out + (end - bytes);
        if (first == Bytes::kCount) {
            bytes += Bytes::kCount;
            out += Bytes::kCount;
        } else {
            bytes += first + 1;
            out += first + 1;
            *out++ = 0;
        }
    }
    return out;
}
