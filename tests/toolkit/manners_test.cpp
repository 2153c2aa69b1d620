// What the command says, to people and to programs.
#include "toolkit_support.hpp"

#include "kelvane/toolkit/job/marker_files.hpp"
#include "kelvane/toolkit/scan/scan_files.hpp"
#include "kelvane/toolkit/synthesis/synthetic_scan.hpp"

#include <nlohmann/json.hpp>

#include <sstream>

using namespace KVN::toolkit;

namespace {

struct Manners : testing::Test {
    test::Folder folder;

    void SetUp() override {
        DemoOptions options;
        options.width = options.depth = 40.0;
        options.inside = 1;
        options.on_rim = 0;
        const SyntheticScan scan = make_demo_scan(options);
        write_scan(folder / "scan.ply", scan.marked);
        write_markers(folder / "markers.csv", scan.markers);
    }
    test::CommandResult run(const std::string& arguments) const {
        return test::run_kelvane(folder, arguments);
    }
    /// Status of a shell command in the folder.
    int shell(const std::string& line) const {
        const int state = std::system(("cd '" + folder.path().string() + "' && " + line).c_str());
        return WIFEXITED(state) ? WEXITSTATUS(state) : -1;
    }
};

bool has(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

} // namespace

TEST_F(Manners, HelpFitsAScreenAndShowsAnExample) {
    for (const std::string name :
         {"", "repair", "batch", "cut", "info", "demo", "compare", "explain", "find"}) {
        const auto help = run(name + " --help");
        EXPECT_EQ(help.status, 0) << name;
        std::istringstream lines(help.out);
        int count = 0;
        for (std::string line; std::getline(lines, line); ++count) {
            EXPECT_LE(line.size(), 101U) << name << ": " << line;
        }
        EXPECT_LE(count, 50) << name;
        EXPECT_TRUE(has(help.out, "Example:\n  kelvane " + name)) << help.out;
    }
}

TEST_F(Manners, ReportFitsItsSchema) {
    if (shell("/usr/bin/python3 -c 'import jsonschema' 2>/dev/null") != 0) {
        GTEST_SKIP() << "python3-jsonschema is not installed";
    }
    ASSERT_EQ(run("repair scan.ply --markers markers.csv --output out.ply --report r.json").status,
              0);
    const std::string validate = "/usr/bin/python3 -W ignore -m jsonschema "
                                 "'" KELVANE_ROOT "/docs/report.schema.json' >/dev/null 2>&1 -i ";
    EXPECT_EQ(shell(validate + "r.json"), 0);
    auto report = nlohmann::json::parse(test::content(folder / "r.json"));
    report["markers"][0]["outcome"] = "unheard of";
    folder.put("r.json", report.dump());
    EXPECT_NE(shell(validate + "r.json"), 0) << "the schema lets everything through";
}

TEST_F(Manners, PipesCarryTheMeshAlone) {
    ASSERT_EQ(run("repair scan.ply --markers markers.csv --output out.ply").status, 0);
    const std::string repaired = test::content(folder / "out.ply");
    const struct {
        const char* name;
        const char* arguments;
    } rows[] = {{"both ends", "repair - --markers markers.csv --output - <scan.ply"},
                {"markers", "repair scan.ply --markers - --output - <markers.csv"},
                {"quiet", "repair scan.ply --markers markers.csv --output - --quiet"}};
    for (const auto& row : rows) {
        const auto piped = run(row.arguments);
        EXPECT_EQ(piped.status, 0) << row.name << piped.err;
        EXPECT_TRUE(piped.out == repaired) << row.name;
    }
    EXPECT_TRUE(has(run("info - <out.ply").out, "components          1"));
    EXPECT_EQ(run("repair scan.ply --markers markers.csv --output - --json").status, 2);
    EXPECT_TRUE(has(run("repair - --markers markers.csv --output o.ply </dev/null").err,
                    "standard input: is empty"));
}

TEST_F(Manners, DryRunTellsWhatARepairDoes) {
    const auto entries = folder.entries();
    const auto dry = run("repair scan.ply --markers markers.csv --dry-run");
    EXPECT_EQ(dry.status, 0) << dry.err;
    EXPECT_EQ(folder.entries(), entries);
    EXPECT_TRUE(has(dry.err, "the marker size is ")) << dry.err;
    EXPECT_FALSE(has(run("repair scan.ply --markers markers.csv --dry-run --marker-size 1").err,
                     "the marker size is "));

    const auto done = run("repair scan.ply --markers markers.csv --output out.ply --json");
    const auto report = nlohmann::json::parse(done.out);
    std::istringstream lines(dry.out);
    std::string line;
    std::getline(lines, line); // names of the columns
    std::int64_t vertices = 0;
    std::int64_t faces = 0;
    std::int64_t new_faces = 0;
    for (const auto& marker : report["markers"]) {
        std::getline(lines, line);
        std::istringstream fields(line);
        double number = 0.0;
        std::int64_t v = 0;
        std::int64_t f = 0;
        for (int i = 0; i < 5; ++i) {
            fields >> number;
        }
        fields >> v >> f;
        EXPECT_EQ(f > 0, marker["repaired"].get<bool>()) << line;
        vertices += v;
        faces += f;
        new_faces += marker["new_faces"].get<std::int64_t>();
    }
    EXPECT_GT(vertices, 0);
    EXPECT_EQ(report["faces"]["before"].get<std::int64_t>() - faces + new_faces,
              report["faces"]["after"]);
}

TEST_F(Manners, BashCompletesFromTheHelp) {
    const struct {
        const char* words; ///< after the command
        const char* reply; ///< one of its words
    } rows[] = {{"re", "repair"},
                {"repair --meth", "--method"},
                {"repair --method ''", "high"},
                {"repair --method = hi", "high"},
                {"batch --sh", "--shard"}};
    for (const auto& row : rows) {
        const std::string script = "source '" KELVANE_ROOT
                                   "/apps/kelvane/completion.bash'; COMP_WORDS=('" KELVANE_COMMAND
                                   "' " +
                                   std::string(row.words) +
                                   "); COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); _kelvane; printf "
                                   "'%s\\n' \"${COMPREPLY[@]}\"";
        folder.put("try.sh", script);
        EXPECT_EQ(shell("bash try.sh | grep -qx -- '" + std::string(row.reply) + "'"), 0)
            << row.words;
    }
}
