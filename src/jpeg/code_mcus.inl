// The entropy loops with the plain coder of whole MCUs, symbol by symbol. Included by the kernels
// of each instruction set that has nothing faster: see entropy_kernel.inl.

#include "jpeg/entropy_kernel.inl"

// EncodeBlock.
inline void PutBlock(BitSink &sink, const ComponentBlocks &component, const int16_t *block,
                     uint64_t nonZero, int16_t &predictor) {
    PutDc(sink, component.differences, block[0], predictor);
    uint32_t next = 1;
    for (uint64_t left = nonZero & ~uint64_t{1}; left != 0; left &= left - 1) {
        const auto k = static_cast<uint32_t>(__builtin_ctzll(left));
        PutAc(sink, component.codes, *component.acCodes, k - next, block[Place(k)]);
        next = k + 1;
    }
    if (next != 64)
        Put(sink, component.codes[kEndOfBlockSymbol]);
    StoreBytes(sink);
}

uint32_t CodeMcus(BitSink *sinkInOut, ComponentBlocks *components, uint32_t count, uint32_t mcus) {
    BitSink sink = *sinkInOut;
    uint32_t mcu = 0;
    for (; mcu < mcus && HasRoom(sink, kMaxMcuBytes); ++mcu) {
        for (uint32_t c = 0; c < count; ++c) {
            ComponentBlocks &component = components[c];
            int16_t predictor = *component.predictor;
            for (uint32_t i = 0; i < component.blocksInMcu; ++i) {
                PutBlock(sink, component, component.coefficients, *component.nonZero, predictor);
                component.coefficients += 64;
                ++component.nonZero;
            }
            *component.predictor = predictor;
        }
    }
    *sinkInOut = sink;
    return mcu;
}
