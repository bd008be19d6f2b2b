// The sides of a benchmark, each made when it is first asked for, so that one alone has EOS to
// itself.
#pragma once

#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <string>

#include "direct_eos.h"
#include "game.h"
#include "side.h"

namespace zelk::benchmarks {

class Sides {
 public:
  // `directory` is where what is kept between two runs lies.
  explicit Sides(const std::filesystem::path& directory);

  // "plugin", "plugin-with-worker", "contract", "records" or "eos". The plugin has no worker
  // otherwise: its part runs on the tick thread, as after a CreateThread that fails. Where the
  // plugin and a column are both asked for, the plugin comes first, for it initialises EOS.
  Side& Get(const std::string& name);

 private:
  std::unique_ptr<Side> Make(const std::string& name);

  Directory directory_;
  std::optional<Game> game_;
  std::optional<DirectEos> eos_;
  std::map<std::string, std::unique_ptr<Side>> sides_;
};

}  // namespace zelk::benchmarks
