// Codes by their names in kowen/codes.h.
#pragma once

#include <cstdint>
#include <string>

namespace kowen::check {

/// Each gives the code's name, or its number where it has none.
std::string ResultName(int32_t code);
std::string EscapeName(int32_t code);
std::string OpcodeName(uint32_t opcode);
std::string PrimitiveName(int32_t primitive);
std::string IoOperationName(int32_t operation);
std::string StatusCommandName(int32_t command);
std::string StatusCodeName(int32_t code);
std::string SeekName(int32_t origin);
std::string ColorModeName(int32_t mode);
std::string FormatName(int32_t format);
std::string QualityModeName(int32_t mode);
std::string ResolutionModeName(int32_t mode);
std::string SizeModeName(int32_t mode);
std::string EscapeFormatName(int32_t format);
std::string EscapeColorName(int32_t mode);
std::string EscapeQualityName(int32_t mode);
std::string EscapeResolutionName(int32_t mode);
std::string EscapeSizeName(int32_t mode);
std::string AllocationFlagsName(uint32_t flags);
std::string DoorFunctionName(uint16_t function);
std::string ShortDoorFunctionName(int16_t function);

/// "KOWEN_MODE_CREATE | KOWEN_MODE_WRITE"; "0" for none.
std::string FileModeNames(int32_t mode);

} // namespace kowen::check
