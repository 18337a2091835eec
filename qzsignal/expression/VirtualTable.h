// The class of an object, without type information.
#pragma once

#include <cstring>
#include <type_traits>

namespace qzsignal {

// The virtual table of an object, whose address begins it. Objects of a class and of one derived from it differ in
// their tables, also where a program is built without type information.
template <typename Class>
inline void const* virtualTableOf(Class const& object) {
    static_assert(std::is_polymorphic_v<Class>);
    void const* table = nullptr;
    std::memcpy(&table, static_cast<void const*>(&object), sizeof table);
    return table;
}

} // namespace qzsignal
