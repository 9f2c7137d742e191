// comms-decode: reads protocol texts one a line, as they stand in a log or in a record of
// the simulator, and prints each as the application sees it through the plug-in.

#include <CLI/CLI.hpp>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <iostream>

#include "CommandLine.h"
#include "CommunicationsService/Version.h"
#include "Decoder.h"

namespace {

// Every line of the input; false when it could not be read to its end.
bool decodeAll(std::istream& input, const std::string& name, decode::Decoder& decoder, bool json) {
    std::size_t number = 0;
    for (std::string line; std::getline(input, line);) {
        // Blank lines separate parts of a log; they are no message and no mistake.
        ++number;
        if (line.empty() || line == "\r") continue;
        const decode::Decoded decoded = decoder.line(line, number);
        std::cout << (json ? decode::toJson(decoded) + "\n" : decode::toText(decoded));
    }
    if (input.bad()) {
        std::cerr << "comms-decode: cannot read " << name << " past line " << number << ": "
                  << std::strerror(errno) << "\n";
        return false;
    }
    return true;
}

} // namespace

int main(int argc, char** argv) {
    CLI::App app{"Prints protocol texts (events, requests, answers, or the lines of a record "
                 "written by comms-simulator --record) as the application sees them through "
                 "the plug-in: each callback or operation with its arguments named, and what "
                 "came from a default or was cut marked.",
                 "comms-decode"};
    std::vector<std::string> files;
    bool json = false;
    app.add_option("files", files, "Files to read, one text a line (standard input if none)")
        ->check(kit::readableFile());
    app.add_flag("--json", json, "One JSON object a line, for tools");
    app.set_version_flag("--version", "comms-decode " COMMUNICATIONS_SERVICE_VERSION);
    if (const std::optional<int> status = kit::parse(app, "comms-decode", argc, argv))
        return *status;

    decode::Decoder decoder;
    bool complete = true;
    if (files.empty()) complete = decodeAll(std::cin, "standard input", decoder, json);
    for (const std::string& file : files) {
        std::ifstream input(file, std::ios::binary);
        if (!input) {
            std::cerr << "comms-decode: cannot open " << file << ": " << std::strerror(errno)
                      << "\n";
            complete = false;
            continue;
        }
        complete = decodeAll(input, file, decoder, json) && complete;
    }
    return complete ? 0 : 2;
}
