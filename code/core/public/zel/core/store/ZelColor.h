#pragma once

#pragma GCC visibility push(default)

#include <cstdint>

namespace zel::core {

// A colour as 0xRRGGBBAA.
class ZelColor {
public:
    constexpr ZelColor() noexcept = default;
    constexpr explicit ZelColor(std::uint32_t rgba) noexcept : m_value(rgba) {}
    constexpr std::uint32_t GetValue() const noexcept { return m_value; }

    friend constexpr bool operator==(ZelColor a, ZelColor b) noexcept { return a.m_value == b.m_value; }
    friend constexpr bool operator<(ZelColor a, ZelColor b) noexcept { return a.m_value < b.m_value; }
    friend constexpr bool operator>(ZelColor a, ZelColor b) noexcept { return a.m_value > b.m_value; }

private:
    std::uint32_t m_value = 0;
};

}  // namespace zel::core

#pragma GCC visibility pop
