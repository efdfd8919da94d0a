// Results that mean the same in every operation.
#pragma once

namespace zp::result {

inline constexpr char NoConfigurationPath = 21;
inline constexpr char ConfigurationNotOpened = 22;
inline constexpr char ScratchNotOpened = 23;

}  // namespace zp::result
