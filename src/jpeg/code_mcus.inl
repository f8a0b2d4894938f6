// The coder of whole MCUs for the kernels of instruction sets that have nothing faster.

#include "jpeg/mcu_batches.inl"

class McuCoder {
public:
    McuCoder(const ComponentBlocks *, uint32_t) {}

    void Code(BitSink &sink, ComponentBlocks *components, uint32_t count, uint32_t mcus) {
        end_ = symbols_;
        for (; mcus > 0; --mcus)
            for (uint32_t c = 0; c < count; ++c)
                for (uint32_t i = 0; i < components[c].blocksInMcu; ++i)
                    ListBlock(components[c]);
        *end_ = {0, 0}; // goes with the last one, if that has no other
        BitPacker packer(sink, bytes_);
        for (const HuffmanEntry *symbol = symbols_; symbol < end_; symbol += 2)
            packer.Append(uint64_t{symbol[0].code} << symbol[1].length | symbol[1].code,
                          uint32_t{symbol[0].length} + symbol[1].length);
        sink.out = StuffBytes(bytes_, packer.End(), sink.out);
    }

private:
    // Lists the component's next block.
    void ListBlock(ComponentBlocks &component) {
        const int16_t *block = component.coefficients;
        HuffmanEntry *symbol = end_;
        *symbol++ = DcDifference(component.differences, block[0], *component.predictor);
        uint32_t next = 1;
        for (uint64_t left = SymbolMask(*component.nonZero) & ~uint64_t{1}; left != 0;
             left &= left - 1) {
            const auto k = static_cast<uint32_t>(__builtin_ctzll(left));
            *symbol++ = AcCode(component.codes, *component.acCodes, k - next, block[Place(k)]);
            next = k + 1;
        }
        end_ = symbol;
        component.coefficients += 64;
        ++component.nonZero;
    }

    // T.81 F.1.2.3, byte stuffing. Reads and writes up to 7 bytes more.
    static uint8_t *StuffBytes(const uint8_t *bytes, const uint8_t *end, uint8_t *out) {
        for (; bytes < end; bytes += 8) {
            uint64_t word;
            __builtin_memcpy(&word, bytes, sizeof(word));
            const auto left = static_cast<uint32_t>(end - bytes < 8 ? end - bytes : 8);
            if (!HasStuffing(word)) [[likely]] {
                __builtin_memcpy(out, &word, sizeof(word));
                out += left;
                continue;
            }
            for (uint32_t i = 0; i < left; ++i) {
                *out++ = bytes[i];
                if (bytes[i] == 0xFF)
                    *out++ = 0;
            }
        }
        return out;
    }

    HuffmanEntry symbols_[kBatchSymbols + 1];
    HuffmanEntry *end_ = symbols_;
    uint8_t bytes_[kBatchBytes + kPackSlack];
};

uint32_t CodeMcus(BitSink *sink, ComponentBlocks *components, uint32_t count, uint32_t mcus) {
    return CodeBatches<McuCoder>(sink, components, count, mcus);
}
