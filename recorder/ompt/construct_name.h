#pragma once

#include <string>
#include <string_view>

namespace kzr {

/// The function of the program's text that `symbol` stands for, as a name for a region or task in it: in the
/// language's own form without parameters, and without what compilers put behind the names of the parts of a
/// function. Empty when the symbol tells of no such function, as clang's do for the inside of a construct.
///
/// A name goes into documents as it is, so it has printable characters only, and square brackets in place of
/// angle brackets.
[[nodiscard]] std::string name_construct(std::string_view symbol);

/// `text` with what a document cannot hold replaced, and cut after a hundred characters.
[[nodiscard]] std::string make_printable(std::string_view text);

}  // namespace kzr
