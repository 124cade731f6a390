// The members of an operation under one name for both element types.
#pragma once

#include "tarnm/detail/members.h"

namespace tarnm::test {

using detail::code;
using detail::operation;

template <operation Operation, std::uint64_t Code, class T, layout Layout = layout::strided>
inline constexpr auto typedMember = detail::members<Operation, Code>::template function<T, Layout>();

} // namespace tarnm::test
