#pragma once

#include <cstdint>
#include <cstring>

struct Slot {
    const char* name;
    long index;      // 0-based position in the table, -1 when not virtual
    long adjustment; // this-adjustment: 0 for the table of the class named
};

// A pointer to a virtual member function holds the byte offset of its slot. Itanium keeps
// 1 + offset in the first word; the ARM variant keeps the offset there and flags the
// virtual case in the low bit of the adjustment word.
template <class Member> Slot slotOf(const char* name, Member member) {
    static_assert(sizeof(Member) == 2 * sizeof(std::uintptr_t));
    std::uintptr_t words[2];
    std::memcpy(words, &member, sizeof words);
    const long wordSize = static_cast<long>(sizeof(void*));
#if defined(__arm__) || defined(__aarch64__)
    if ((words[1] & 1) == 0) return {name, -1, 0};
    return {name, static_cast<long>(words[0]) / wordSize, static_cast<long>(words[1] >> 1)};
#else
    if ((words[0] & 1) == 0) return {name, -1, 0};
    return {name, static_cast<long>(words[0] - 1) / wordSize, static_cast<long>(words[1])};
#endif
}

template <class Member> long slotOf(Member member) { return slotOf("", member).index; }
