#pragma once

#include <span>
#include <string_view>

// The files of lab/page/, as they were when the program was built (cmake/EmbedPage.cmake).
namespace QuarraLab::PageParts {

extern const std::string_view html;
extern const std::string_view style;
extern const std::span<const std::string_view> scripts; // in the order in which they build on each other

} // namespace QuarraLab::PageParts
