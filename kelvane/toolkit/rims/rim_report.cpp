#include "kelvane/toolkit/rims/rim_report.hpp"

namespace KVN::toolkit {

const char* to_string(RimClosing closing) {
    return closing == RimClosing::curved ? "curved" : "straight";
}

const char* describe(RimClosing closing) {
    switch (closing) {
    case RimClosing::curved:
        return "along the curve of the rim on both sides";
    case RimClosing::as_asked:
        return "as asked";
    case RimClosing::joined_ends:
        return "the ends of the cut are neighbours";
    case RimClosing::short_gap:
        return "the gap is no longer than the rim's edges";
    case RimClosing::few_edges:
        return "too little rim beside the cut";
    case RimClosing::no_common_curve:
        return "the two sides of the rim do not lie on one curve";
    case RimClosing::bends_back:
        return "the rim's curve bends back";
    case RimClosing::meets_cut:
        return "the rim's curve comes too near to the cut";
    }
    return "";
}

std::string phrase(RimClosing closing) {
    return std::string("rim ") + to_string(closing) + ": " + describe(closing);
}

} // namespace KVN::toolkit
