// The benchmark program: chooses the rows, checks and times them, reports.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <string>
#include <vector>

#include "harness/machine.h"
#include "harness/measure.h"
#include "harness/report.h"
#include "harness/short_table.h"
#include "rows/rows.h"
#include "tarncore/tarncore.h"

namespace {

using namespace bench;

constexpr const char* usage =
    "usage: tarnm_bench [OPTION..]\n"
    "\n"
    "Times members of tarnm beside what a user would pick instead. Rows are named MEMBER/SIZE/TYPE/COUNT[/THREADSt].\n"
    "Progress goes to stderr, a Markdown table to stdout. Fails when contenders of a row leave different results.\n"
    "\n"
    "  --list                 the names of the rows\n"
    "  --filter TEXT          only rows whose name contains TEXT; may be repeated, then any of them\n"
    "  --without TEXT         no rows whose name contains TEXT; may be repeated\n"
    "  --variants             the builds g9, v3 and v4 side by side instead of the one that the loader takes\n"
    "  --library NAME=FILE    also the build of libtarnm in FILE; may be repeated\n"
    "  --seconds N            time for the whole run, by default at most 0.4 per row and 300 in all\n"
    "  --check                compare results, time nothing\n"
    "  --offset N             operands begin N bytes behind a cache line, by default 0; malloc gives 16\n"
    "  --short                only the rows of the short table\n"
    "  --table FILE           the short table: single and double precision side by side, as Markdown\n"
    "  --json FILE            everything measured\n"
    "  --chart FILE           a chart as SVG\n"
    "  --help                 this text\n";

struct Options {
    bool list = false, check = false, variants = false, isShort = false;
    std::vector<std::string> filters, excluded, libraries;
    double seconds = 0;
    std::size_t offset = 0;
    std::string table, json, chart;
};

[[noreturn]] void fail(const std::string& message)
{
    std::fprintf(stderr, "tarnm_bench: %s\n", message.c_str());
    std::exit(2);
}

Options parse(int count, char** arguments)
{
    Options options;
    for (int i = 1; i < count; ++i) {
        const std::string option = arguments[i];
        const auto value = [&]() -> std::string {
            if (++i == count) fail(option + " wants a value");
            return arguments[i];
        };
        if (option == "--help" || option == "-h") {
            std::fputs(usage, stdout);
            std::exit(0);
        } else if (option == "--list")
            options.list = true;
        else if (option == "--check")
            options.check = true;
        else if (option == "--variants")
            options.variants = true;
        else if (option == "--filter")
            options.filters.push_back(value());
        else if (option == "--without")
            options.excluded.push_back(value());
        else if (option == "--library")
            options.libraries.push_back(value());
        else if (option == "--seconds")
            options.seconds = std::stod(value());
        else if (option == "--offset")
            options.offset = std::stoul(value());
        else if (option == "--short")
            options.isShort = true;
        else if (option == "--table")
            options.table = value();
        else if (option == "--json")
            options.json = value();
        else if (option == "--chart")
            options.chart = value();
        else
            fail("unknown option " + option + "; --help lists them");
    }
    return options;
}

std::vector<Rows::Plan> chosenRows(const Options& options)
{
    Rows rows;
    frameRows(rows);
    elementwiseRows(rows);
    productRows(rows);
    vectorRows(rows);
    movementRows(rows);
    reductionRows(rows);
    geometryRows(rows);
    generalEigenproblemRows(rows);
    symmetricEigenproblemRows(rows);
    luRows(rows);
    choleskyRows(rows);
    qrRows(rows);
    determinantRows(rows);
    inverseRows(rows);
    std::vector<Rows::Plan> chosen;
    const auto matchesAny = [](const std::string& name, const std::vector<std::string>& texts) {
        return std::any_of(texts.begin(), texts.end(),
                           [&](const std::string& text) { return name.find(text) != std::string::npos; });
    };
    std::copy_if(rows.all().begin(), rows.all().end(), std::back_inserter(chosen), [&](const Rows::Plan& plan) {
        return (!options.isShort || isInShortTable(plan.name)) &&
               (options.filters.empty() || matchesAny(plan.name, options.filters)) &&
               !matchesAny(plan.name, options.excluded);
    });
    return chosen;
}

std::vector<Library> openLibraries(const Options& options)
{
    std::vector<Library> libraries;
    if (options.variants)
        libraries = openVariants();
    else if (options.libraries.empty())
        libraries.push_back(openByLoader());
    for (const std::string& text : options.libraries)
        libraries.push_back(openFile(text));
    for (const Library& library : libraries)
        std::fprintf(stderr, "%s is %s\n", library.name().c_str(), library.file().c_str());
    return libraries;
}

Finding find(const Rows::Plan& plan, const Row& row, Machine& machine, double seconds)
{
    const double ns = 1e9 / row.count;
    Finding finding{plan.name, row.count, row.threads, 0, 0, {}};
    finding.moving = ns * machine.moving(row.bytesRead, row.bytesWritten, row.threads);
    finding.computing = ns * machine.computing(row.flopsPerObject * row.count, row.isDouble, row.threads);
    const std::vector<Timing> timings = measure(row, seconds);
    for (std::size_t i = 0; i < timings.size(); ++i)
        finding.entrants.push_back(
            {row.contenders[i].name, row.contenders[i].role, ns * timings[i].minimum, ns * timings[i].median});
    return finding;
}

void write(const std::string& file, const std::string& text)
{
    if (!(std::ofstream(file) << text)) fail("cannot write " + file);
}

int run(const Options& options)
{
    const std::vector<Rows::Plan> plans = chosenRows(options);
    if (plans.empty()) fail("no row matches; --list tells their names");
    if (options.list) {
        for (const Rows::Plan& plan : plans)
            std::puts(plan.name.c_str());
        return 0;
    }

    const std::vector<Library> libraries = openLibraries(options);
    const double perRow =
        options.seconds > 0 ? options.seconds / double(plans.size()) : std::min(0.4, 300 / double(plans.size()));
    Memory memory(options.offset);
    Machine machine;
    std::vector<Finding> findings;
    int wrong = 0;
    for (std::size_t i = 0; i < plans.size(); ++i) {
        const Rows::Plan& plan = plans[i];
        pinThreads(plan.threads);
        tarnSetNumThreads(plan.threads);
        memory.clear();
        Row row(memory, libraries, plan.count, plan.threads);
        plan.prepare(row);
        if (const std::string difference = checkResults(row); !difference.empty()) {
            std::fprintf(stderr, "[%zu/%zu] %s: WRONG: %s\n", i + 1, plans.size(), plan.name.c_str(),
                         difference.c_str());
            ++wrong;
        } else if (options.check) {
            std::fprintf(stderr, "[%zu/%zu] %s: agrees\n", i + 1, plans.size(), plan.name.c_str());
        } else {
            findings.push_back(find(plan, row, machine, perRow));
            // As soon as it is known: an interrupted run leaves a table too.
            if (findings.size() == 1) std::fputs(tableHead(), stdout);
            std::fputs(tableLines(findings.back()).c_str(), stdout);
            std::fflush(stdout);
            std::fprintf(stderr, "[%zu/%zu] %s: %.3g ns, %.2f of %s\n", i + 1, plans.size(), plan.name.c_str(),
                         findings.back().ours().minimum,
                         findings.back().ours().minimum / findings.back().bestPeer().minimum,
                         findings.back().bestPeer().name.c_str());
        }
    }

    if (options.check) {
        std::printf("%zu rows checked, %d wrong\n", plans.size(), wrong);
    } else if (!findings.empty()) {
        std::printf("\n%s", summary(findings).c_str());
        if (!options.table.empty()) write(options.table, shortTable(findings, processorName()));
        if (!options.json.empty()) write(options.json, json(findings, machine.json()));
        if (!options.chart.empty())
            write(options.chart, chart(findings, "Time relative to the best peer, " + processorName() +
                                                     "; the grey mark is the bound of the machine"));
    }
    return wrong == 0 ? 0 : 1;
}

} // namespace

int main(int count, char** arguments)
{
    try {
        return run(parse(count, arguments));
    } catch (const std::exception& problem) {
        fail(problem.what());
    }
}
