# Writes a source that holds text files as string literals:
#
#     cmake -DOUTPUT=page_texts.cpp "-DTEXTS=page.html;page.css" -P KelvaneTexts.cmake
#
# page/page.html becomes KVN::toolkit::page_html_text, and so on.
set(source "// Made from ${TEXTS}.\n#include \"kelvane/toolkit/page/page_texts.hpp\"\n\nnamespace KVN::toolkit {\n\n")
foreach(file IN LISTS TEXTS)
    get_filename_component(name "${file}" NAME)
    string(REPLACE "." "_" name "${name}")
    # As it stands: cmake's lists would lose semicolons, which a quoted variable keeps.
    file(READ "${file}" text)
    string(APPEND source "const std::string_view ${name}_text = R\"~~~(${text})~~~\";\n\n")
endforeach()
string(APPEND source "} // namespace KVN::toolkit\n")
file(WRITE "${OUTPUT}" "${source}")
