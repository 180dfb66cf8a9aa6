#pragma once

// A result that represents an errno has it in the low 14 bits.
constexpr int code_emask = 0x3FFF;

constexpr int unix_err(int number)
{
    return 3 << 14 | number;
}
