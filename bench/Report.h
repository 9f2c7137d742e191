#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <vector>

namespace bench {

// The sizes of the conference documents the cost per byte is measured on.
inline constexpr std::size_t kConferenceBytes[] = {std::size_t{1} << 10, std::size_t{1} << 14,
                                                   std::size_t{1} << 18, std::size_t{1} << 20};

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
    std::vector<std::string> eventNames; // dispatch order
    // The same measures on the plug-in built on the plain rules reader, when it was run.
    std::map<std::string, double> plainNanoseconds;
    std::map<std::string, double> plainInstructions;
    // Instructions on armhf, counted under qemu by bench/armhf/count.sh, per build ("fast",
    // "rules", "straightforward"): one call-state event, and per byte of the conference
    // event at each of kConferenceBytes.
    struct ArmhfCount {
        std::string build;
        double callState;
        std::vector<double> conferencePerByte;
    };
    std::vector<ArmhfCount> armhf;
    // What each speed trick saves, counted by bench/tricks/measure.sh: instructions of one
    // call with the trick and with it turned off, on x86-64 and on armhf (absent, < 0).
    struct Trick {
        std::string name;        // "word-compare"
        std::string replacement; // what takes its place when it is off
        std::string call;        // the call counted
        double x86With, x86Without, armhfWith, armhfWithout;
    };
    std::vector<Trick> tricks;
    std::vector<std::string> operationNames; // interface order
};

// Whether every benchmark ran, as it does unless a filter was given.
bool complete(const Results& results);

// The tables of medians, ratios, goals and allocations, in Markdown.
std::string markdown(const Results& results);

// Draws the medians as results.png in `folder` with gnuplot. False when gnuplot could not.
bool drawChart(const Results& results, const std::string& folder);

} // namespace bench
