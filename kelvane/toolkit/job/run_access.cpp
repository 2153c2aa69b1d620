#include "kelvane/toolkit/job/run_access.hpp"

#include "kelvane/toolkit/job/methods.hpp"

namespace KVN::toolkit {

void RunAccess::process(RepairMarkers& run, Method method, int threads, const RunPlaces& places) {
    run.run(RepairMarkers::closings().at(static_cast<std::size_t>(method)), threads, places);
}

const std::vector<MethodInfo>& methods() {
    static const std::vector<MethodInfo> infos = [] {
        std::vector<MethodInfo> list;
        for (const Closing& closing : RunAccess::closings()) {
            list.push_back({closing.method, closing.name, closing.help});
        }
        return list;
    }();
    return infos;
}

const char* to_string(Method method) {
    return methods().at(static_cast<std::size_t>(method)).name;
}

} // namespace KVN::toolkit
