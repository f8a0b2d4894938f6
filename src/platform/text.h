// Strings, bytes and numbers: the small portable helpers of the filter.
#pragma once

#include <cstdint>

namespace kowen {

char *strupr(char *text) noexcept;
char *strlower(char *text) noexcept;
char *strlwr(char *text) noexcept;
int32_t stricmp(const char *s1, const char *s2) noexcept;
int32_t strnicmp(const char *s1, const char *s2, int32_t n) noexcept;
void qivHugeMemcpy(void *destination, const void *source, uint32_t count) noexcept;
int32_t qivHugeMemcmp(const void *a, const void *b, uint32_t count) noexcept;
void qivHugeMemset(void *destination, int32_t value, uint32_t count) noexcept;
double dabs(double x) noexcept;
int32_t roundd(double x) noexcept;
int32_t feqi(int32_t a, int32_t b, int32_t tolerance) noexcept;

/// Doubles to integers, truncated toward zero; saturated at the limits, 0 for NaN.
int32_t TruncateToInt32(double x) noexcept;
uint32_t TruncateToUInt32(double x) noexcept;

} // namespace kowen
