#include "Report.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <tuple>
#include <utility>

namespace bench {
namespace {

const std::string kCallState = "CallStateChangeEvent";

double at(const std::map<std::string, double>& values, const std::string& name) {
    const auto found = values.find(name);
    return found == values.end() ? std::nan("") : found->second;
}

std::string fixed(double value, int decimals) {
    if (std::isnan(value)) return "-";
    char text[32];
    std::snprintf(text, sizeof text, "%.*f", decimals, value);
    return text;
}

std::string ns(double value) { return std::isnan(value) ? "-" : fixed(value, 0) + " ns"; }

std::string count(double value) { return fixed(value, value == std::floor(value) ? 0 : 1); }

std::string met(bool yes) { return yes ? "yes" : "**no**"; }

struct Goal {
    std::string measure;
    double ours;
    double reference;
    std::string ratioText;
    std::string goal;
    bool met;
};

std::vector<Goal> goals(const Results& results) {
    const auto& time = results.nanoseconds;
    const double callState = at(time, "event/" + kCallState);
    const double straightforward = at(time, "straightforward/" + kCallState);
    const double pugixml = at(time, "pugixml/" + kCallState);
    const double floor = at(time, "floor/" + kCallState);
    const double hold = at(time, "request/holdCall");
    const double stream = at(time, "ostringstream/holdCall");
    std::vector<Goal> all;
    all.push_back({"Call-state event against the straightforward way", callState, straightforward,
                   fixed(straightforward / callState, 1) + "x faster", ">= 4x faster",
                   straightforward / callState >= 4});
    all.push_back({"Call-state event against pugixml", callState, pugixml,
                   fixed(pugixml / callState, 1) + "x faster", ">= 2x faster",
                   pugixml / callState >= 2});
    all.push_back({"Call-state event against the floor", callState, floor,
                   fixed(callState / floor, 1) + "x the floor", "<= 15x the floor",
                   callState / floor <= 15});
    all.push_back({"holdCall against std::ostringstream", hold, stream,
                   fixed(stream / hold, 1) + "x faster", ">= 4x faster", stream / hold >= 4});
    return all;
}

} // namespace

bool complete(const Results& results) {
    std::vector<std::string> names = {"pugixml/" + kCallState, "floor/" + kCallState,
                                      "ostringstream/holdCall"};
    for (const std::string& event : results.eventNames) {
        names.push_back("event/" + event);
        names.push_back("straightforward/" + event);
    }
    for (const std::string& operation : results.operationNames) {
        names.push_back("request/" + operation);
    }
    return std::all_of(names.begin(), names.end(), [&](const std::string& name) {
        return results.nanoseconds.count(name) != 0;
    });
}

std::string markdown(const Results& results) {
    const auto& time = results.nanoseconds;
    const auto& allocations = results.allocations;
    std::ostringstream out;
    out << "Medians of the CPU time per call; allocations per call counted by a replaced "
           "operator new (pugixml's through its allocation hooks) in a run of their own.\n\n"
           "### Goals\n\n| Measure | Ours | Reference | Ratio | Goal | Met |\n"
           "|---|---:|---:|---:|---|---|\n";
    for (const Goal& goal : goals(results)) {
        out << "| " << goal.measure << " | " << ns(goal.ours) << " | " << ns(goal.reference)
            << " | " << goal.ratioText << " | " << goal.goal << " | " << met(goal.met) << " |\n";
    }
    int slower = 0;
    bool eventsInBudget = true;
    for (const std::string& event : results.eventNames) {
        if (!(at(time, "event/" + event) < at(time, "straightforward/" + event))) ++slower;
        const std::string name = "event/" + event;
        if (!(at(allocations, name) <= at(results.budgets, name))) eventsInBudget = false;
    }
    bool requestsInBudget = true;
    for (const std::string& operation : results.operationNames) {
        const std::string name = "request/" + operation;
        if (!(at(allocations, name) <= at(results.budgets, name))) requestsInBudget = false;
    }
    out << "| Every event against the straightforward way | " << slower << " of "
        << results.eventNames.size() << " slower | | | all faster | " << met(slower == 0) << " |\n"
        << "| Allocations per event | | | | the message, long texts, list decoding | "
        << met(eventsInBudget) << " |\n"
        << "| Allocations per request | | | | the request text, a long answer | "
        << met(requestsInBudget) << " |\n\n";

    out << "### Headlines\n\n| Measure | Median | Allocations |\n|---|---:|---:|\n";
    const std::pair<const char*, std::string> headlines[] = {
        {"Call-state event, handleMessage", "event/" + kCallState},
        {"Call-state event, straightforward way", "straightforward/" + kCallState},
        {"Call-state event, pugixml DOM and 18 values", "pugixml/" + kCallState},
        {"Call-state event, one vectorised pass (floor)", "floor/" + kCallState},
        {"holdCall", "request/holdCall"},
        {"holdCall through std::ostringstream", "ostringstream/holdCall"},
        {"getForwardingConfiguration", "request/getForwardingConfiguration"},
        {"getMessageWaitingIndicator", "request/getMessageWaitingIndicator"},
        {"getDevices (50 devices)", "request/getDevices"},
    };
    for (const auto& [measure, name] : headlines) {
        out << "| " << measure << " | " << ns(at(time, name)) << " | "
            << count(at(allocations, name)) << " |\n";
    }

    out << "\n### Events (handleMessage, subscriber with empty callbacks)\n\n"
           "| Event | handleMessage | Straightforward | Ratio | Allocations | Budget |\n"
           "|---|---:|---:|---:|---:|---:|\n";
    for (const std::string& event : results.eventNames) {
        const double ours = at(time, "event/" + event);
        const double plain = at(time, "straightforward/" + event);
        out << "| " << event << " | " << ns(ours) << " | " << ns(plain) << " | "
            << fixed(plain / ours, 1) << "x | " << count(at(allocations, "event/" + event)) << " | "
            << count(at(results.budgets, "event/" + event)) << " |\n";
    }
    out << "\n### Requests (in-memory channel with a canned answer)\n\n"
           "| Operation | Median | Allocations | Budget |\n|---|---:|---:|---:|\n";
    for (const std::string& operation : results.operationNames) {
        const std::string name = "request/" + operation;
        out << "| " << operation << " | " << ns(at(time, name)) << " | "
            << count(at(allocations, name)) << " | " << count(at(results.budgets, name)) << " |\n";
    }
    return out.str();
}

bool drawChart(const Results& results, const std::string& folder) {
    const auto& time = results.nanoseconds;
    std::ostringstream script;
    // Ours in blue, the references in red, the floor in grey.
    constexpr unsigned kOurs = 0x4472c4;
    constexpr unsigned kReference = 0xc0504d;
    constexpr unsigned kFloor = 0x9a9a9a;
    const std::tuple<const char*, std::string, unsigned> headlines[] = {
        {"call-state: handleMessage", "event/" + kCallState, kOurs},
        {"call-state: straightforward", "straightforward/" + kCallState, kReference},
        {"call-state: pugixml", "pugixml/" + kCallState, kReference},
        {"call-state: floor", "floor/" + kCallState, kFloor},
        {"holdCall", "request/holdCall", kOurs},
        {"holdCall: ostringstream", "ostringstream/holdCall", kReference},
        {"getForwardingConfiguration", "request/getForwardingConfiguration", kOurs},
        {"getMessageWaitingIndicator", "request/getMessageWaitingIndicator", kOurs},
        {"getDevices (50)", "request/getDevices", kOurs},
    };
    script << "$headline << EOD\n";
    for (const auto& [label, name, colour] : headlines) {
        script << '"' << label << "\" " << at(time, name) << ' ' << colour << '\n';
    }
    script << "EOD\n$events << EOD\n";
    for (const std::string& event : results.eventNames) {
        script << event << ' ' << at(time, "event/" + event) << ' '
               << at(time, "straightforward/" + event) << '\n';
    }
    script << "EOD\n"
              "set terminal pngcairo size 1400,1100 font 'Sans,10'\n"
              "set output '"
           << folder
           << "/results.png'\n"
              "set multiplot layout 2,1\n"
              "set style data histograms\n"
              "set style histogram clustered gap 1\n"
              "set style fill solid 0.85 border -1\n"
              "set grid ytics\n"
              "set ylabel 'ns per call (median, log scale)'\n"
              "set logscale y\n"
              "set yrange [1:30000]\n"
              "set rmargin 16\n"
              "set key top center horizontal\n"
              "set xtics rotate by -40 left\n"
              "set title 'Headlines: ours in blue, references in red, the floor in grey'\n"
              "set boxwidth 0.6\n"
              "set xrange [-0.6:8.6]\n"
              "plot $headline using 0:2:3:xtic(1) with boxes notitle lc rgb variable\n"
              "set autoscale x\n"
              "set boxwidth\n"
              "set title 'Every event: handleMessage against the straightforward way'\n"
              "plot $events using 2:xtic(1) title 'handleMessage' lc rgb '#4472c4', "
              "'' using 3 title 'straightforward' lc rgb '#c0504d'\n"
              "unset multiplot\n";
    FILE* gnuplot = popen("gnuplot", "w");
    if (gnuplot == nullptr) return false;
    const std::string text = script.str();
    std::fwrite(text.data(), 1, text.size(), gnuplot);
    return pclose(gnuplot) == 0;
}

} // namespace bench
