// A variant's table. Included last by the kernels of an instruction set.

constexpr Kernels Variant(const char *name, bool zigZag) {
    return {
        .name = name,
        .zigZag = zigZag,
        .mapRgbToYcc = MapRgbToYcc,
        .mapBgrToYcc = MapBgrToYcc,
        .mapToGrey = MapToGrey,
        .swapFirstAndThird = SwapFirstAndThird,
        .deinterleave422 = Deinterleave422,
        .deinterleave444 = Deinterleave444,
        .mapAndDeinterleave422 = MapAndDeinterleave422,
        .mapAndDeinterleave444 = MapAndDeinterleave444,
        .mapAndExtractGrey = MapAndExtractGrey,
        .transformBlocks = TransformBlocks,
        .codeMcus = CodeMcus,
        .packBlocks = PackBlocks,
        .codeDcs = CodeDcs,
        .codeAcs = CodeAcs,
        .endAcs = EndAcs,
    };
}
