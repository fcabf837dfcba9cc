#pragma once

#include <array>
#include <string>
#include <string_view>

#include "core/AgentSession.h"
#include "core/ListModel.h"

/// What the dialog "Find User" computes; its list and its filter.
namespace kr {

enum class FindOperator { Any, Exactly, Contains, StartsWith };
/// The entries of the operators' combos, in the order of FindOperator.
inline constexpr std::array<std::string_view, 4> kFindOperators = {"Any", "is (exactly)",
                                                                   "contains", "starts with"};

/// One line of a find dialog: a combo and its text. "Any" leaves the text aside.
struct FindCriterion {
    FindOperator op = FindOperator::Any;
    std::string text;
    bool Used() const;
};

/// "[field] like '...'"; "" for a criterion that isn't used.
std::string FindClause(std::string_view field, const FindCriterion& criterion);
/// Clauses joined with " and ".
std::string FindUserFilter(const FindCriterion& name, const FindCriterion& email);

/// `cmdQuery`: fills lvUsers with the users found, and says what is missing or that there are none.
/// The key of a row is the user's entry id, by which "Go To" selects the row of the main list.
int64_t FindUsers(AgentSession& session, ListModel& lvUsers, const FindCriterion& name,
                  const FindCriterion& email);

} // namespace kr
