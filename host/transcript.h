// What people read: tables, sign-ins and friends in words, colours where a terminal shows them.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "output.h"
#include "zelk_core_standin.h"

namespace zelk::host {

// How a text stands out.
enum class Style { kBold, kDim, kGood, kDoubtful, kBad };

// As it is when standard output is no terminal or the environment has NO_COLOR.
std::string Styled(Style style, std::string_view text);

// Columns two blanks apart, every line behind `indent`. Printable. On a terminal the lines fit it,
// and cells are cut for that; elsewhere no cell is cut, for a program may read them.
using Row = std::vector<std::string>;
std::string Table(std::vector<Row> rows, std::string_view indent);

// The JSON object in a text of a record; without members when the text is none.
Json Document(const std::string& text);

// "success", "sign in again (10)", "EOS reported EOS_InvalidAuth (4)" and the like.
std::string Outcome(const BaseResult& result);

// Name, account, product user and tokens of a sign-in, and by what EOS made it.
std::string SignInText(const AuthPluginResult& result, const std::string& signed_in_by,
                       std::string_view indent);

// A table of the friends, and at its foot which part of all of them it is.
enum class Accounts { kWhole, kShortened };
std::string FriendsText(const FriendResult& result, int32_t page, Accounts accounts,
                        std::string_view indent);

}  // namespace zelk::host
