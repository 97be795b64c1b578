// Results that the caller must look at.
#pragma once

namespace mandatory_error {

// Holds exactly one T, true on success where T is bool. Nothing records whether it was looked
// at; the compiler warns where a call throws it away.
template <class T> class [[nodiscard]] XelErrorCode {
public:
    constexpr XelErrorCode(T value) noexcept : m_value(value) {}
    constexpr operator T() const noexcept { return m_value; }

private:
    T m_value;
};

} // namespace mandatory_error
