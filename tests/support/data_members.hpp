#ifndef DP_TESTS_SUPPORT_DATA_MEMBERS_HPP
#define DP_TESTS_SUPPORT_DATA_MEMBERS_HPP

#include <cstddef>
#include <functional>
#include <initializer_list>
#include <memory>
#include <type_traits>

namespace test {

/// Whether the data members of an object are laid out in the order in which they are given.
template <class... Members>
bool in_order(const Members&... members) {
    const void* before = nullptr;
    for (const void* member : {static_cast<const void*>(std::addressof(members))...}) {
        if (before != nullptr && !std::less<>()(before, member)) {
            return false;
        }
        before = member;
    }
    return true;
}

/// Whether a data member has exactly that type.
template <class Type, class Member>
constexpr bool has_type(const Member& /*member*/) {
    return std::is_same_v<Type, Member>;
}

}  // namespace test

#endif
