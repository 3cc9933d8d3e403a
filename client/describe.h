// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <type_traits>

/// @file
/// How the members of a record are described: once, by name and in order. JSON, texts, comparisons
/// and tables of records are made from this description. May be used from any thread.

namespace paclient {

/// What a visitor learns of a member beside its value.
struct MemberInfo {
    /// @param memberName a literal
    MemberInfo(const char* memberName) : name(memberName) {}  // not explicit, for `visit`

    const char* name;  ///< stable, as in JSON
};

/// Marks a type whose members are not described.
struct NotDescribed {};

/// The members of a record. A type that is described specialises this with a function
///
///     template <class Record, class Visit>
///     static void visit(Record& record, Visit& visit);
///
/// that calls `visit(info, value)` for each member in order. A function, because a tuple of member
/// pointers takes much longer to compile in every source that includes it.
template <class Record>
struct Members : NotDescribed {};

/// Whether the members of the type are described.
template <class Type>
inline constexpr bool isDescribed = !std::is_base_of_v<NotDescribed, Members<Type>>;

/// Calls `visit(info, value)` for every member of the record, in order. `visit` may change the
/// values of a record that is not const.
template <class Record, class Visit>
void forEachMember(Record& record, Visit visit) {
    Members<std::remove_const_t<Record>>::visit(record, visit);
}

}  // namespace paclient
