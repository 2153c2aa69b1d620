#include "kelvane/toolkit/text_file.hpp"

#include "kelvane/toolkit/scan/formats/output_file.hpp"

namespace KVN::toolkit {

void write_text(const std::filesystem::path& file, std::string_view text) {
    OutputFile out(file);
    out.write(text);
    out.commit();
}

void check_output(const std::filesystem::path& file) {
    const OutputFile probe(file);
}

} // namespace KVN::toolkit
