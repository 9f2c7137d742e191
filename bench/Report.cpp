#include "Report.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>

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
    all.push_back({"Call-state event vs straightforward reader", callState, straightforward,
                   fixed(straightforward / callState, 1) + "x faster", ">= 4x faster",
                   straightforward / callState >= 4});
    all.push_back({"Call-state event vs pugixml DOM", callState, pugixml,
                   fixed(pugixml / callState, 1) + "x faster", ">= 2x faster",
                   pugixml / callState >= 2});
    all.push_back({"Call-state event vs one vectorised pass (floor)", callState, floor,
                   fixed(callState / floor, 1) + "x the floor", "<= 15x the floor",
                   callState / floor <= 15});
    all.push_back({"holdCall vs std::ostringstream", hold, stream,
                   fixed(stream / hold, 1) + "x faster", ">= 4x faster", stream / hold >= 4});
    return all;
}

} // namespace

std::string markdown(const Results& results) {
    const auto& time = results.nanoseconds;
    std::ostringstream out;
    out << "### Goals\n\n| Measure | Ours | Reference | Ratio | Goal | Met |\n"
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
        if (!(at(results.allocations, name) <= at(results.budgets, name))) eventsInBudget = false;
    }
    bool requestsInBudget = true;
    for (const std::string& operation : results.operationNames) {
        const std::string name = "request/" + operation;
        if (!(at(results.allocations, name) <= at(results.budgets, name))) {
            requestsInBudget = false;
        }
    }
    out << "| Events not faster than the straightforward reader | " << slower << " of "
        << results.eventNames.size() << " | | | none | " << met(slower == 0) << " |\n"
        << "| Allocations per event within budget | | | | message + long texts | "
        << met(eventsInBudget) << " |\n"
        << "| Allocations per request within budget | | | | request text + response | "
        << met(requestsInBudget) << " |\n\n";

    out << "Headline queries: getForwardingConfiguration "
        << ns(at(time, "request/getForwardingConfiguration")) << ", getMessageWaitingIndicator "
        << ns(at(time, "request/getMessageWaitingIndicator")) << ", getDevices (50 devices) "
        << ns(at(time, "request/getDevices")) << "; call-state event read by the plain reader "
        << "with pugixml's allocations: " << count(at(results.allocations, "pugixml/" + kCallState))
        << ", by the straightforward reader: "
        << count(at(results.allocations, "straightforward/" + kCallState))
        << "; holdCall through std::ostringstream: "
        << count(at(results.allocations, "ostringstream/holdCall")) << " allocations.\n\n";

    out << "### Events (handleMessage, subscriber with empty callbacks)\n\n"
           "| Event | handleMessage | Straightforward | Ratio | Allocations | Budget |\n"
           "|---|---:|---:|---:|---:|---:|\n";
    for (const std::string& event : results.eventNames) {
        const double ours = at(time, "event/" + event);
        const double plain = at(time, "straightforward/" + event);
        out << "| " << event << " | " << ns(ours) << " | " << ns(plain) << " | "
            << fixed(plain / ours, 1) << "x | " << count(at(results.allocations, "event/" + event))
            << " | " << count(at(results.budgets, "event/" + event)) << " |\n";
    }
    out << "\n### Requests (in-memory channel with a canned answer)\n\n"
           "| Operation | Median | Allocations | Budget |\n|---|---:|---:|---:|\n";
    for (const std::string& operation : results.operationNames) {
        const std::string name = "request/" + operation;
        out << "| " << operation << " | " << ns(at(time, name)) << " | "
            << count(at(results.allocations, name)) << " | " << count(at(results.budgets, name))
            << " |\n";
    }
    return out.str();
}

bool drawChart(const Results& results, const std::string& folder) {
    const auto& time = results.nanoseconds;
    {
        std::ofstream events(folder + "/results-events.dat");
        events << "# event handleMessage straightforward\n";
        for (const std::string& event : results.eventNames) {
            events << event << ' ' << at(time, "event/" + event) << ' '
                   << at(time, "straightforward/" + event) << '\n';
        }
        std::ofstream headline(folder + "/results-headline.dat");
        headline << "# measure nanoseconds\n"
                 << "\"call-state: handleMessage\" " << at(time, "event/" + kCallState) << '\n'
                 << "\"call-state: straightforward\" " << at(time, "straightforward/" + kCallState)
                 << '\n'
                 << "\"call-state: pugixml\" " << at(time, "pugixml/" + kCallState) << '\n'
                 << "\"call-state: floor\" " << at(time, "floor/" + kCallState) << '\n'
                 << "\"holdCall\" " << at(time, "request/holdCall") << '\n'
                 << "\"holdCall: ostringstream\" " << at(time, "ostringstream/holdCall") << '\n'
                 << "\"getForwardingConfiguration\" "
                 << at(time, "request/getForwardingConfiguration") << '\n'
                 << "\"getMessageWaitingIndicator\" "
                 << at(time, "request/getMessageWaitingIndicator") << '\n'
                 << "\"getDevices (50)\" " << at(time, "request/getDevices") << '\n';
    }
    const std::string script = folder + "/results.gp";
    {
        std::ofstream gp(script);
        gp << "set terminal pngcairo size 1400,1100 font 'Sans,10'\n"
              "set output 'results.png'\n"
              "set multiplot layout 2,1\n"
              "set style data histograms\n"
              "set style histogram clustered gap 1\n"
              "set style fill solid 0.85 border -1\n"
              "set grid ytics\n"
              "set ylabel 'ns per call (median, log scale)'\n"
              "set logscale y\n"
              "set yrange [1:*]\n"
              "set key top left\n"
              "set xtics rotate by -40 left\n"
              "set title 'Headlines'\n"
              "plot 'results-headline.dat' using 2:xtic(1) title 'median' lc rgb '#4472c4'\n"
              "set title 'Every event: handleMessage against the straightforward reader'\n"
              "plot 'results-events.dat' using 2:xtic(1) title 'handleMessage' lc rgb '#4472c4', "
              "'' using 3 title 'straightforward reader' lc rgb '#c0504d'\n"
              "unset multiplot\n";
    }
    const std::string command = "cd '" + folder + "' && gnuplot results.gp";
    return std::system(command.c_str()) == 0;
}

} // namespace bench
