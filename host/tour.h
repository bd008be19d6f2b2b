// The tour: a player's way through everything that the plugin does, as a transcript.
#pragma once

#include "game.h"
#include "work_recorder.h"

namespace zelk::host {

// Signs in, lists friends page by page, signs out, signs in again. `recorder` gets the log;
// `in_words` is set when results are not printed as events.
void TourFirstProcess(Game& game, WorkRecorder& recorder, bool in_words);

// Signs in automatically from what the first process left behind.
void TourNextProcess(Game& game, WorkRecorder& recorder, bool in_words);

}  // namespace zelk::host
