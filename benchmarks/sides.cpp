#include "sides.h"

#include <chrono>
#include <stdexcept>
#include <thread>

#include "eos_standin.h"
#include "windows_standin.h"

namespace zelk::benchmarks {
namespace {

// Looking at EOS's count all the time would slow down the worker, which writes it.
void LetWorkerWork() {
  using Clock = std::chrono::steady_clock;
  const Clock::time_point end = Clock::now() + std::chrono::microseconds(2);
  while (Clock::now() < end) std::this_thread::yield();
}

class Plugin final : public Side {
 public:
  Plugin(const Game& game, bool with_worker) : game_(game), with_worker_(with_worker) {}

  void Tick() override { game_.Tick(); }
  void SignIn() override { game_.SignIn(); }
  void SignOut() override {
    game_.SignOut();
    TakeAnswer();
  }

  // The tick that follows the list comes when the worker has asked for the last friend, as it does
  // in a game, whose frames are longer than a worker takes.
  void ListFriends(int32_t count) override {
    windows_standin::FailCreateThread(!with_worker_);
    game_.AskForFriends(count);
    game_.Tick();
    while (eos_standin::OutstandingNow().operations < count) LetWorkerWork();
    game_.TickUntilIdle();
  }

  void TakeAnswer() override {
    if (!Game::TakeAnswer()) throw std::runtime_error("the plugin has not answered");
  }

  EOS_ELogLevel log_level() const override { return EOS_ELogLevel::EOS_LOG_Verbose; }

 private:
  const Game& game_;
  bool with_worker_;
};

}  // namespace

Sides::Sides(const std::filesystem::path& directory) : directory_(directory) {
  SetUpWorld(directory_.path());
}

Side& Sides::Get(const std::string& name) {
  std::unique_ptr<Side>& side = sides_[name];
  if (side == nullptr) side = Make(name);
  EOS_Logging_SetLogLevel(EOS_ELogCategory::EOS_LC_ALL_CATEGORIES, side->log_level());
  return *side;
}

std::unique_ptr<Side> Sides::Make(const std::string& name) {
  if (name.starts_with("plugin")) {
    if (!game_) game_.emplace();
    return std::make_unique<Plugin>(*game_, name == "plugin-with-worker");
  }
  if (!eos_) {
    const std::filesystem::path directory = directory_.path() / "direct";
    std::filesystem::create_directories(directory);
    eos_.emplace(directory.string());
    eos_->SignIn();
  }
  if (name == "contract") return MakeContract(*eos_);
  if (name == "records") return MakeSdkRecords(*eos_);
  if (name == "eos") return MakeEosAlone(*eos_);
  throw std::invalid_argument("there is no side \"" + name + "\"");
}

}  // namespace zelk::benchmarks
