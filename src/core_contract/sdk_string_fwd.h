// The name of the SDK's string, for headers that only hand one on. Needs no other header.
#pragma once

namespace zelk::zelk_tp_stl_c {

template <class CharT>
class basic_string;

}  // namespace zelk::zelk_tp_stl_c

namespace zelk {

// The text that crosses the libraries: sdk_string.h defines it.
using SdkString = zelk_tp_stl_c::basic_string<char>;

}  // namespace zelk
