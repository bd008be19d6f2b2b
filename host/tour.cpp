#include "tour.h"

#include <spdlog/fmt/fmt.h>

#include "core_contract/method_id.h"
#include "record_json.h"
#include "transcript.h"

namespace zelk::host {
namespace {

constexpr std::string_view kIndent = "             ";
constexpr int32_t kFriendsPerPage = 10;

void PrintHeading(const std::string& heading) {
  PrintText(fmt::format("\n{}\n", Styled(Style::kBold, heading)));
}

// A block of lines; the first of them carries its name.
void PrintBlock(std::string_view name, const std::string& text) {
  if (text.empty()) return;
  const std::string label = fmt::format("  {:<{}}", name, kIndent.size() - 2);
  PrintText(Styled(Style::kDim, label) + text.substr(kIndent.size()));
}

std::vector<Row> Arguments(const Request& request) {
  const int32_t method_id = request.params.method_id;
  std::vector<Row> rows{
      {"method", fmt::format("{} ({})", method_id, kMethodIDNames.at(method_id))}};
  if (!request.params.extra_json.empty()) {
    rows.push_back({"parameters", request.params.extra_json});
  }
  if (!request.permissions.empty()) rows.push_back({"permissions", request.permissions});
  if (request.entry_point == EntryPoint::kQueryFriends) {
    rows.push_back({"page", fmt::format("{}, of {} friends each", request.page, request.count)});
  }
  return rows;
}

void PrintRequest(const Request& request) {
  PrintBlock("request", fmt::format("{}{}\n", kIndent, EntryPointName(request.entry_point)) +
                            Table(Arguments(request), kIndent));
}

Row WorkRow(const Work& work) {
  const std::string call = work.about.empty() ? work.call : work.call + ", " + work.about;
  if (work.is_open) return {call, "", "no completion"};
  if (work.outcome.empty()) return {call};
  return {call, fmt::format("{} tick{}", work.ticks, work.ticks == 1 ? "" : "s"), work.outcome};
}

void PrintWork(const std::vector<Work>& work) {
  std::vector<Row> rows;
  for (const Work& item : work) rows.push_back(WorkRow(item));
  PrintBlock("EOS", Table(rows, kIndent));
}

struct Details {
  std::string operator()(const BaseResult&) const { return ""; }
  std::string operator()(const AuthPluginResult& result) const {
    return SignInText(result, signed_in_by, kIndent);
  }
  std::string operator()(const FriendResult& result) const {
    return result.ret_code == kResultSuccess
               ? FriendsText(result, page, Accounts::kShortened, kIndent)
               : "";
  }

  int32_t page;
  std::string signed_in_by;
};

void PrintResult(const Request& request, const Game::Result& result,
                 const std::string& signed_in_by) {
  const BaseResult& base = Base(result.record);
  const Style style = base.ret_code == kResultSuccess ? Style::kGood : Style::kBad;
  PrintBlock("result", fmt::format("{}{}, {}\n", kIndent, TypeName(result.record),
                                   Styled(style, Outcome(base))));
  PrintText(std::visit(Details{request.page, signed_in_by}, result.record));
}

struct Tour {
  Game& game;
  WorkRecorder& recorder;
  bool in_words;
};

std::optional<Game::Result> RunStep(const Tour& tour, const std::string& heading,
                                    const Request& request) {
  if (tour.in_words) {
    PrintHeading(heading);
    PrintRequest(request);
  }
  const std::optional<Game::Result> result = tour.game.Ask(request);
  if (result.has_value()) tour.recorder.EndLookUp("answered");
  TickUntilComplete(tour.game, tour.recorder);
  const std::string signed_in_by = tour.recorder.SignedInBy();
  const std::vector<Work> work = tour.recorder.Take();
  if (!tour.in_words) return result;
  PrintWork(work);
  if (result.has_value()) PrintResult(request, *result, signed_in_by);
  return result;
}

// How many friends come after this page, by the document that comes with it.
int32_t FriendsLeft(const std::optional<Game::Result>& result) {
  if (!result.has_value()) return 0;
  const Json document = Document(Base(result->record).extra_json.c_str());
  return document.value("total", 0) - document.value("current", 0);
}

void ListFriendsByPage(const Tour& tour) {
  constexpr int32_t kPages = 3;
  int32_t left = 1;
  for (int32_t page = 1; page <= kPages && left > 0; ++page) {
    left = FriendsLeft(
        RunStep(tour, fmt::format("List friends, page {}", page),
                ListFriends(fmt::format("friends-{}", page), page, kFriendsPerPage, false)));
  }
  if (left > 0 && tour.in_words) {
    PrintText(
        fmt::format("{}the tour leaves out {} friends on the pages after it\n", kIndent, left));
  }
}

}  // namespace

void TourFirstProcess(Game& game, WorkRecorder& recorder, bool in_words) {
  const Tour tour{game, recorder, in_words};
  const std::string portal = R"({"LoginMode":"AccountPortal"})";
  RunStep(tour, "Sign in through the account portal", SignIn("sign-in", portal));
  ListFriendsByPage(tour);
  RunStep(tour, "Sign out, which forgets the sign-in", SignOut("sign-out"));
  RunStep(tour, "Sign in through the portal once more", SignIn("sign-in-again", portal));
}

void TourNextProcess(Game& game, WorkRecorder& recorder, bool in_words) {
  RunStep({game, recorder, in_words}, "In a new process: sign in automatically from what was kept",
          SignInAutomatically("auto-sign-in"));
}

}  // namespace zelk::host
