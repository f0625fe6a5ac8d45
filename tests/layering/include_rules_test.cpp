// The layering, read from the READMEs: the "May use:" line of the README
// nearest to a source names the include roots (folders, or `tarko` for the
// installed umbrella header) that it may include from; a "<glob> may use:"
// line gives the files matching the glob a list of their own. A list may go
// on over the next lines, up to an empty one or the next "Word:" line. A root
// is a folder or a single header; a folder's own headers are always allowed.
// A new folder joins by writing its README.
#include <fnmatch.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <optional>
#include <regex>
#include <string>
#include <vector>

#include "support/test_support.h"

namespace fs = std::filesystem;

namespace {

const fs::path kRoot = TARKO_SOURCE_DIR;

struct Rules {
    std::string folder;              // of the README, relative to the root ("platform/d3d")
    std::string line;                // the "May use:" text, for messages
    std::vector<std::string> roots;
    struct ForFiles {
        std::string glob;
        std::vector<std::string> roots;
    };
    std::vector<ForFiles> for_files;
};

bool is_root(const std::string& word) { return word == "tarko" || (!word.empty() && fs::exists(kRoot / word)); }

// Items split at commas and semicolons outside parentheses; the first word
// of each counts when it names a folder of the tree ("SDL2", "the" do not).
std::vector<std::string> roots_of(const std::string& list) {
    std::vector<std::string> roots, items(1);
    int depth = 0;
    for (const char c : list) {
        if (c == '(') ++depth;
        if (c == ')') --depth;
        if (depth == 0 && (c == ',' || c == ';'))
            items.emplace_back();
        else if (depth == 0 && c != ')')
            items.back() += c;
    }
    for (const auto& item : items) {
        std::smatch m;
        if (!std::regex_search(item, m, std::regex(R"(^\s*`?([A-Za-z0-9_/.]+[A-Za-z0-9_/]))"))) continue;
        std::string word = m[1];
        while (!word.empty() && word.back() == '/') word.pop_back();
        if (is_root(word)) roots.push_back(word);
    }
    return roots;
}

std::optional<Rules> read_rules(const fs::path& readme, const std::string& folder) {
    std::ifstream in(readme);
    std::optional<Rules> rules;
    const std::regex general(R"(^May use:(.*)$)"), per_file(R"(^(\S+) may use:(.*)$)"),
        next_entry(R"(^(\S+ may use|[A-Z][A-Za-z ]*):)");
    std::vector<std::string> lines;
    for (std::string line; std::getline(in, line);) lines.push_back(line);
    std::smatch m;
    for (std::size_t i = 0; i < lines.size(); ++i) {
        std::string list;
        const bool is_general = std::regex_match(lines[i], m, general);
        if (!is_general && !std::regex_match(lines[i], m, per_file)) continue;
        const std::string glob = is_general ? "" : m[1].str();
        list = m[is_general ? 1 : 2];
        while (i + 1 < lines.size() && !lines[i + 1].empty() && !std::regex_search(lines[i + 1], next_entry))
            list += " " + lines[++i];
        if (!rules) rules = Rules{folder};
        if (is_general) {
            rules->line = "May use:" + list;
            rules->roots = roots_of(list);
        } else {
            rules->for_files.push_back({glob, roots_of(list)});
        }
    }
    return rules;
}

bool starts_with_root(const std::string& include, const std::string& root) {
    return include == root || include.rfind(root + "/", 0) == 0;
}

// Whether `file` (relative to the root) may include `include` under `rules`.
bool allowed(const Rules& rules, const std::string& file, const std::string& include) {
    const auto slash = include.find('/');
    if (slash == std::string::npos || !is_root(include.substr(0, slash))) return true;  // standard, third-party, own folder
    if (starts_with_root(include, rules.folder)) return true;
    const std::string name = fs::path(file).filename().string();
    const std::vector<std::string>* roots = &rules.roots;
    for (const auto& f : rules.for_files)
        if (fnmatch(f.glob.c_str(), name.c_str(), 0) == 0) roots = &f.roots;
    for (const auto& r : *roots)
        if (starts_with_root(include, r)) return true;
    return false;
}

// Folders whose sources are not library layers: the tests include what they
// test, build folders are generated, seed corpora and data are not code.
bool skipped(const fs::path& relative) {
    const std::string top = relative.begin()->string();
    return top == "tests" || top.rfind("build", 0) == 0 || top.front() == '.';
}

TEST(IncludeRules, ReadmeListsNameFoldersAndNothingElse) {
    const struct {
        const char* list;
        std::vector<std::string> roots;
    } cases[] = {
        {" runtime, platform/base (records, the root's vector helpers)", {"runtime", "platform/base"}},
        {" runtime; SDL2, OpenAL Soft, FluidSynth and stb, in .cpp files only.", {"runtime"}},
        {" the C++ standard library only.", {}},
        {" images, platform (gdi, maths), runtime.", {"images", "platform", "runtime"}},
        {" `tarko` (the installed library) only", {"tarko"}},
        {" platform/base, platform/records.h (the records)", {"platform/base", "platform/records.h"}},
        {" platform/nothing.h, maths/", {"maths"}},
    };
    for (const auto& c : cases) EXPECT_EQ(roots_of(c.list), c.roots) << c.list;
}

TEST(IncludeRules, ReadmeListsGoOnOverLinesAndPerFileLinesStandApart) {
    const fs::path readme = tarko::test::scratch_dir("include_rules") / "README.md";
    std::ofstream(readme) << "# x: a folder\nMay use: runtime, platform (device,\n  surfaces), maths,\nimages.\n"
                             "Never: engine\nengine_*.cpp may use: engine,\ngeometry\n\nagents\n";
    const auto rules = read_rules(readme, "x");
    ASSERT_TRUE(rules);
    EXPECT_EQ(rules->roots, (std::vector<std::string>{"runtime", "platform", "maths", "images"}));
    ASSERT_EQ(rules->for_files.size(), 1u);
    EXPECT_EQ(rules->for_files[0].glob, "engine_*.cpp");
    EXPECT_EQ(rules->for_files[0].roots, (std::vector<std::string>{"engine", "geometry"}));
}

TEST(IncludeRules, AnIncludeNeedsItsOwnFolderOrANamedRoot) {
    const Rules maths{"maths", "", {"runtime", "platform/base"}, {}};
    const Rules geometry{"geometry", "", {"maths", "platform/records.h"}, {{"engine_*.cpp", {"engine", "maths"}}}};
    const struct {
        const Rules& rules;
        const char* file;
        const char* include;
        bool ok;
    } cases[] = {
        {maths, "maths/kernel.cpp", "maths/kernel.h", true},
        {maths, "maths/kernel.cpp", "platform/base/dx_math.h", true},
        {maths, "maths/kernel.cpp", "platform/d3d/device.h", false},  // platform/base is not platform
        {maths, "maths/kernel.cpp", "platform/basement.h", false},
        {maths, "maths/kernel.cpp", "platform/records.h", false},
        {maths, "maths/kernel.cpp", "engine/tarko_dx7.h", false},
        {maths, "maths/kernel.cpp", "vector", true},
        {maths, "maths/kernel.cpp", "gtest/gtest.h", true},         // not a folder of the tree
        {maths, "maths/kernel.cpp", "tarko/tarko.h", false},
        {geometry, "geometry/engine_geometry.cpp", "engine/tarko_dx7.h", true},
        {geometry, "geometry/cube.cpp", "engine/tarko_dx7.h", false},
        {geometry, "geometry/cube.cpp", "platform/records.h", true},
        {geometry, "geometry/cube.cpp", "platform/constants.h", false},
        {geometry, "geometry/engine_geometry.cpp", "runtime/errors.h", false},  // the glob's list replaces the folder's
    };
    for (const auto& c : cases) EXPECT_EQ(allowed(c.rules, c.file, c.include), c.ok) << c.file << " -> " << c.include;
}

TEST(IncludeRules, EverySourceIncludesOnlyWhatItsReadmeAllows) {
    std::vector<std::string> problems;
    const std::regex include_line(R"(^\s*#\s*include\s*[<"]([^">]+)[">])");
    for (auto it = fs::recursive_directory_iterator(kRoot); it != fs::recursive_directory_iterator(); ++it) {
        const fs::path relative = fs::relative(it->path(), kRoot);
        if (skipped(relative)) {
            if (it->is_directory()) it.disable_recursion_pending();
            continue;
        }
        const auto ext = relative.extension();
        if (!it->is_regular_file() || (ext != ".h" && ext != ".c" && ext != ".cpp" && ext != ".inc")) continue;
        std::optional<Rules> rules;
        for (fs::path dir = relative.parent_path(); !dir.empty() && !rules; dir = dir.parent_path())
            if (fs::exists(kRoot / dir / "README.md")) rules = read_rules(kRoot / dir / "README.md", dir.generic_string());
        if (!rules) {
            problems.push_back(relative.generic_string() + ": no README above it says what it may use");
            continue;
        }
        std::ifstream in(it->path());
        std::smatch m;
        int number = 0;
        for (std::string line; std::getline(in, line);) {
            ++number;
            if (std::regex_search(line, m, include_line) && !allowed(*rules, relative.generic_string(), m[1]))
                problems.push_back(relative.generic_string() + ":" + std::to_string(number) + " includes " +
                                   m[1].str() + "; " + rules->folder + "/README.md: " + rules->line);
        }
    }
    std::string all;
    for (const auto& p : problems) all += p + "\n";
    EXPECT_TRUE(problems.empty()) << all;
}

}  // namespace
