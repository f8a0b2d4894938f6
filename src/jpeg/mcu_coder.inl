// The coder of whole MCUs for instruction sets that have nothing faster.

// Lists a block's AC coefficients behind symbol; returns the end. Not inlined: with the variables
// around it there are too few registers.
[[gnu::noinline]] PackedCode *ListBlockAcs(const CodeTables &tables, uint64_t nonZero,
                                           const int16_t *block, PackedCode *symbol) {
    symbol = ListAcs(
        tables, nonZero & ~uint64_t{1}, [block](uint32_t k) { return block[Place(k)]; }, symbol);
    *symbol = tables.ofSymbol[0]; // the end of the block, unless its last coefficient is coded
    return symbol + (nonZero >> 63 ^ 1);
}

// Lists the component's next block behind symbol; returns the end.
inline PackedCode *ListBlock(ComponentBlocks &component, PackedCode *symbol) {
    const int16_t *block = component.coefficients;
    const uint64_t nonZero = *component.nonZero;
    component.coefficients += 64;
    ++component.nonZero;
    *symbol = DcCode(*component.tables, block[0], *component.predictor);
    return ListBlockAcs(*component.tables, nonZero, block, symbol + 1);
}

inline void CodeMcuBatch(BitSink &sink, ComponentBlocks *components, uint32_t count,
                         uint32_t mcus) {
    SymbolBatch &batch = workingBatch;
    batch.Reset();
    for (; mcus > 0; --mcus)
        for (uint32_t c = 0; c < count; ++c)
            for (uint32_t i = 0; i < components[c].blocksInMcu; ++i)
                batch.end = ListBlock(components[c], batch.end);
    batch.Write(sink);
}

uint32_t CodeMcus(BitSink *sink, ComponentBlocks *components, uint32_t count, uint32_t mcus) {
    return CodeBatches(sink, components, count, mcus, CodeMcuBatch);
}
