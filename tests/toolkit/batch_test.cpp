// Batches: lists, shares, records, and the command that is killed and begun again.
#include "toolkit_support.hpp"

#include "kelvane/toolkit/batch/job_list.hpp"
#include "kelvane/toolkit/batch/job_memory.hpp"
#include "kelvane/toolkit/batch/shard.hpp"
#include "kelvane/toolkit/errors.hpp"
#include "kelvane/toolkit/job/marker_files.hpp"
#include "kelvane/toolkit/scan/scan_files.hpp"
#include "kelvane/toolkit/synthesis/synthetic_scan.hpp"
#include "kelvane/toolkit/text_file.hpp"

#include <nlohmann/json.hpp>

#include <functional>
#include <future>
#include <map>

using namespace KVN::toolkit;

namespace {

std::string message_of(const std::function<void()>& call) {
    try {
        call();
    } catch (const InputError& error) {
        return error.what();
    }
    return "";
}

/// Six jobs on a small scan, one of them without a scan.
struct Batch : testing::Test {
    test::Folder folder;
    static constexpr int good = 5;

    void SetUp() override {
        DemoOptions options;
        options.width = options.depth = 40.0;
        options.inside = 1;
        options.on_rim = 0;
        options.overlapping = false;
        const SyntheticScan scan = make_demo_scan(options);
        write_scan(folder / "scan.ply", scan.marked);
        write_markers(folder / "markers.csv", {scan.markers[0]});
        std::string list = "scan,markers,output,marker-size,leave-open,report\n";
        for (int i = 0; i < good; ++i) {
            list += "scan.ply,markers.csv,out/" + std::to_string(i) + ".ply,0." +
                    std::to_string(4 + i) + (i == 2 ? ",true,out/2.json\n" : ",,\n");
        }
        folder.put("jobs.csv", list + "none.ply,markers.csv,out/bad.ply,,,\n");
        test::fs::create_directory(folder / "out");
    }
    test::CommandResult run(const std::string& arguments) const {
        return test::run_kelvane(folder, "batch jobs.csv " + arguments);
    }
    std::map<std::string, std::string> outputs() const {
        std::map<std::string, std::string> files;
        for (const auto& entry : test::fs::directory_iterator(folder / "out")) {
            if (entry.path().extension() != ".json") { // its times differ from run to run
                files[entry.path().filename()] = test::content(entry);
            }
        }
        return files;
    }
    nlohmann::json report() const {
        return nlohmann::json::parse(test::content(folder / "jobs.batch/report.json"));
    }
};

bool has(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

} // namespace

TEST(JobList, NamesTheLineAtFault) {
    const test::Folder folder;
    const struct {
        const char* name;
        const char* list;
        const char* fault;
    } rows[] = {
        {"empty", "\n", "no header"},
        {"no output", "scan,markers\n", "'output' is missing"},
        {"twice", "scan,markers,output,scan\n", "'scan' stands there twice"},
        {"few fields", "scan,markers,output\n\na,b\n", "line 3: has 2 fields, where 3"},
        {"open quote", "scan,markers,output\na,b,\"c\n", "line 2: has a quote without end"},
        {"behind a quote", "scan,markers,output\na,b,\"c\"d\n", "line 2: has text behind"},
        {"no scan", "scan,markers,output\n,b,c\n", "line 2: names no scan"},
        {"same output", "scan,markers,output\na,b,c\nd,e,x/../c\n",
         "line 3: x/../c is an output of line 2 too"},
        {"report is output", "scan,markers,output,report\na,b,c,c\n", "line 2: c is an output"},
        {"reads an output", "scan,markers,output\nc,b,d\na,b,c\n", "line 2: c is overwritten"},
        {"in place", "scan,markers,output\na,b,a\n", "line 2: a is overwritten by line 2"},
    };
    for (const auto& row : rows) {
        const auto file = folder.put("jobs.csv", row.list);
        const std::string fault = message_of([&] { read_job_list(file); });
        EXPECT_TRUE(has(fault, row.fault)) << row.name << ": " << fault;
    }
    const auto jobs = read_job_list(folder.put(
        "jobs.csv",
        "\xEF\xBB\xBFoutput,page,scan,markers\r\n# note\r\n\"a,\"\"b\"\" #1\", , s ,\r\n"));
    ASSERT_EQ(jobs.size(), 1U);
    EXPECT_EQ(jobs[0].output, "a,\"b\" #1");
    EXPECT_EQ(jobs[0].scan, "s");
    EXPECT_TRUE(jobs[0].markers.empty() && jobs[0].options.empty());
    EXPECT_EQ(jobs[0].line, 3U);
}

TEST(Shard, ArrayNumbersGiveEachJobToOneTask) {
    const struct {
        const char* array;
        std::vector<int> ids; ///< of the tasks, as Slurm numbers them
        int min, max, step, count;
        bool told; ///< whether they say what is whose
    } rows[] = {
        {"0-7", {0, 1, 2, 3, 4, 5, 6, 7}, 0, 7, 1, 8, true},
        {"1-7:2", {1, 3, 5, 7}, 1, 7, 2, 4, true},
        {"0", {0}, 0, 0, 1, 1, true},
        {"4-5", {4, 5}, 4, 5, 1, 2, false},
        {"2,5", {2, 5}, 2, 5, 1, 2, false},
        {"0-2,5", {0, 1, 2, 5}, 0, 5, 1, 4, false},
    };
    for (const auto& row : rows) {
        std::vector<int> times(20, 0);
        for (const int id : row.ids) {
            const auto set = [](const char* name, int value) {
                ::setenv((std::string("SLURM_ARRAY_TASK_") + name).c_str(),
                         std::to_string(value).c_str(), 1);
            };
            set("ID", id);
            set("MIN", row.min);
            set("MAX", row.max);
            set("STEP", row.step);
            set("COUNT", row.count);
            if (!row.told) {
                EXPECT_THROW(shard_of_array_task(), InputError) << row.array;
                continue;
            }
            for (std::size_t job = 0; job < times.size(); ++job) {
                times[job] += shard_of_array_task()->holds(job) ? 1 : 0;
            }
        }
        EXPECT_EQ(times, std::vector<int>(20, row.told ? 1 : 0)) << row.array;
    }
    for (const char* name : {"ID", "MIN", "MAX", "STEP", "COUNT"}) {
        ::unsetenv((std::string("SLURM_ARRAY_TASK_") + name).c_str());
    }
    EXPECT_FALSE(shard_of_array_task());
    for (const char* text : {"", "1", "2/2", "-1/2", "1/2x", "0/0", "1/"}) {
        EXPECT_THROW(parse_shard(text), InputError) << text;
    }
}

// Sizes and peaks of runs that were measured, in megabytes.
TEST(BatchMemory, CoversWhatRunsTookWithoutWaste) {
    test::Folder folder;
    const char* ply = "ply\nformat binary_little_endian 1.0\n";
    const struct {
        const char* name;
        const char* scan;
        const char* head;
        int size;
        int markers;
        const char* output;
        const char* option; ///< that is set
        int peak;
    } rows[] = {
        {"binary PLY", "a.ply", ply, 190, 0, "b.ply", "", 65},
        {"many markers", "a.ply", ply, 38, 1000, "b.ply", "", 583},
        {"with a page", "a.ply", ply, 38, 200, "b.ply", "page", 256},
        {"PLY to STL", "a.ply", ply, 190, 0, "b.stl", "", 180},
        {"PLY with markers to be found", "a.ply", ply, 38, 0, "b.ply", "find", 102},
        {"PLY as a whole mesh", "a.ply", ply, 38, 200, "b.ply", "whole-mesh", 610},
        {"binary STL", "a.stl", "", 500, 200, "b.stl", "", 160},
        {"binary STL to PLY", "a.stl", "", 500, 0, "b.ply", "", 364},
        {"text STL", "a.stl", "solid a\n", 73, 0, "b.stl", "", 90},
        {"OFF", "a.off", "OFF\n", 77, 0, "b.off", "", 264},
    };
    for (const auto& row : rows) {
        const auto scan = folder.put(row.scan, row.head);
        test::fs::resize_file(scan, static_cast<std::uintmax_t>(row.size) * 1'000'000);
        const std::vector<KVN::Marker> markers(static_cast<std::size_t>(row.markers),
                                               {0, 0, 0, 0, 0, 1, 1});
        write_markers(folder / "markers.csv", markers);
        BatchJob job{2, scan, folder / "markers.csv", folder / row.output, {}};
        if (*row.option != '\0') {
            job.options.emplace_back(row.option, "true");
        }
        const auto peak = static_cast<double>(row.peak) * 1e6;
        EXPECT_GT(static_cast<double>(job_memory(job)), peak) << row.name;
        EXPECT_LT(static_cast<double>(job_memory(job)), 3.4 * peak) << row.name;
    }
}

TEST_F(Batch, IsThatOfSingleRepairsAndPassesOverWhatIsComplete) {
    auto result = run("");
    EXPECT_EQ(result.status, 2) << result.err;
    EXPECT_TRUE(has(result.out, "5 of 6 jobs done, 1 with bad input")) << result.out;
    EXPECT_TRUE(has(result.err, "kelvane: line 7: none.ply: cannot be read")) << result.err;
    const auto first = outputs();
    ASSERT_EQ(first.size(), static_cast<std::size_t>(good));
    test::run_kelvane(folder, "repair scan.ply --markers markers.csv --marker-size 0.6 "
                              "--output single.ply --leave-open");
    EXPECT_TRUE(first.at("2.ply") == test::content(folder / "single.ply"));
    EXPECT_EQ(report()["jobs"][1]["report"]["repaired"], 1);

    const struct {
        const char* name;
        std::function<void()> change;
        int before; ///< jobs that stay complete
        const char* arguments;
    } rows[] = {
        {"nothing", [] {}, 5, ""},
        {"again", [] {}, 0, "--again"},
        {"output gone", [&] { test::fs::remove(folder / "out/1.ply"); }, 4, ""},
        {"report gone", [&] { test::fs::remove(folder / "out/2.json"); }, 4, ""},
        {"output touched",
         [&] { test::fs::last_write_time(folder / "out/3.ply", test::fs::file_time_type::min()); },
         4, "--threads 1 --memory 1"},
        {"markers touched",
         [&] { folder.put("markers.csv", test::content(folder / "markers.csv")); }, 0, ""},
    };
    for (const auto& row : rows) {
        row.change();
        result = run(row.arguments);
        const std::string told = "0 of 6 jobs";
        const std::string before = row.before == 0
                                       ? told
                                       : std::to_string(row.before) + " of 6 jobs, " +
                                             std::to_string(row.before) + " of them before";
        EXPECT_EQ(result.err.substr(0, result.err.find('\n')), before) << row.name;
        EXPECT_TRUE(outputs() == first) << row.name;
    }
    folder.put("wrong.csv", "scan,markers,output,colour-of-shed\na,b,c,red\n");
    result = test::run_kelvane(folder, "batch wrong.csv");
    EXPECT_EQ(result.status, 2);
    EXPECT_TRUE(has(result.err, "repair has no --colour-of-shed")) << result.err;
}

TEST_F(Batch, ShardsJoin) {
    EXPECT_EQ(run("--shard 1/2").status, 2);
    EXPECT_EQ(run("--shard 0/2 --strict").status, 0);
    EXPECT_EQ(outputs().size(), static_cast<std::size_t>(good));
    test::fs::remove(folder / "out/4.ply");
    const auto merged = run("--merge");
    EXPECT_EQ(merged.status, 2);
    EXPECT_TRUE(has(merged.err, "line 6: out/4.ply is missing")) << merged.err;
    EXPECT_EQ(report()["missing"], 1);
    EXPECT_EQ(report()["bad_input"], 1);
    EXPECT_EQ(report()["jobs"][4]["state"], "missing");
    EXPECT_TRUE(has(test::content(folder / "jobs.batch/report.csv"),
                    "\n2,scan.ply,markers.csv,out/0.ply,done,1,0,"));
    EXPECT_EQ(run("--shard 2/2").status, 2);
}

TEST(Outputs, OfThreadsInOneFolderDisturbNobody) {
    const test::Folder folder;
    const auto write = [&folder](const std::string& name) {
        for (int i = 0; i < 200; ++i) {
            check_output(folder / name);
            write_text(folder / name, name);
        }
    };
    auto other = std::async(std::launch::async, write, "a");
    EXPECT_NO_THROW(write("b"));
    EXPECT_NO_THROW(other.get());
    EXPECT_EQ(folder.entries(), 2U);
}

TEST_F(Batch, KilledAtAnyMomentEndsWithTheSameFiles) {
    run("--quiet");
    const auto expected = outputs();
    int unfinished = 0;
    for (int delay = 0; delay < 12; ++delay) { // over a run of some 100 ms
        test::fs::remove_all(folder / "jobs.batch");
        test::fs::remove_all(folder / "out");
        test::fs::create_directory(folder / "out");
        const std::string line = "cd '" + folder.path().string() + "' && timeout -s KILL " +
                                 std::to_string(0.008 * delay + 0.002) +
                                 " '" KELVANE_COMMAND "' batch jobs.csv --quiet >/dev/null 2>&1";
        [[maybe_unused]] const int killed = std::system(line.c_str());
        unfinished += outputs() == expected ? 0 : 1;
        EXPECT_EQ(run("--quiet").status, 2);
        ASSERT_TRUE(outputs() == expected) << "killed after " << 8 * delay + 2 << " ms";
    }
    EXPECT_GT(unfinished, 0);
}
