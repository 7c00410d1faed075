#pragma once

namespace QUOR::manipulation {

/// The bytes of a cache line. What vectors are loaded from begins with one: those that lie across two lines take two
/// loads.
constexpr int kLine = 64;

/// How many elements a cache line has.
template <class T> constexpr int kLineElements = kLine / sizeof(T);

} // namespace QUOR::manipulation
