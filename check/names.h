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
std::string DoorFunctionName(uint16_t function);
std::string ShortDoorFunctionName(int16_t function);

} // namespace kowen::check
