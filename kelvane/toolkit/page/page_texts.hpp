// The texts that every page begins with; made from the files of these names when the library is
// built.
#pragma once

#include <string_view>

namespace KVN::toolkit {

extern const std::string_view page_html_text; ///< the frame, with its places named {{so}}
extern const std::string_view page_css_text;
extern const std::string_view page_js_text;

} // namespace KVN::toolkit
