#pragma once

#include <map>
#include <string>
#include <vector>

namespace bench {

// What one run measured, by benchmark name ("event/CallHeldEvent", "request/holdCall",
// "straightforward/...", "floor/...", "pugixml/...", "scan/...", "ostringstream/...").
struct Results {
    std::map<std::string, double> nanoseconds;  // median time per call
    std::map<std::string, double> allocations;  // per call, from the counting run
    std::map<std::string, double> budgets;      // allowed allocations per call
    std::map<std::string, double> instructions; // per call, counted by callgrind
    struct Size {
        std::string build; // "x86-64", "armhf", "x86-64 straightforward"
        double stripped;   // bytes of the stripped plug-in
        double data;       // its data and bss, in bytes
        double bss;
    };
    std::vector<Size> sizes;
    std::vector<std::string> eventNames;     // dispatch order
    std::vector<std::string> operationNames; // interface order
};

// Whether every benchmark ran, as it does unless a filter was given.
bool complete(const Results& results);

// The tables of medians, ratios, goals and allocations, in Markdown.
std::string markdown(const Results& results);

// Draws the medians as results.png in `folder` with gnuplot. False when gnuplot could not.
bool drawChart(const Results& results, const std::string& folder);

} // namespace bench
