// Writes the fuzzers' dictionaries and the events' seed corpus from the protocol's
// description, so that a changed or added message reaches the fuzzers with the next build.
// Usage: comms_fuzz_seeds FOLDER; writes FOLDER/dict/*.dict and FOLDER/corpus/handle_message.

#include <cerrno>
#include <cstdio>
#include <fstream>
#include <set>
#include <stdexcept>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <tuple>

#include "Samples.h"

namespace {

namespace protocol = CommunicationsService::protocol;
namespace samples = testsupport::samples;

std::string quoted(std::string_view word) {
    std::string text = "\"";
    for (const char byte : word) {
        if (byte == '"' || byte == '\\') text += '\\';
        text += byte;
    }
    return text + "\"";
}

class Dictionary {
public:
    void word(std::string_view text) { words.insert(std::string(text)); }
    void tags(std::string_view name) {
        word("<" + std::string(name) + ">");
        word("</" + std::string(name) + ">");
    }
    void write(const std::string& path, const char* about) const {
        std::ofstream out(path);
        out << "# " << about << " (written from the protocol's description)\n";
        for (const std::string& each : words)
            out << quoted(each) << "\n";
        if (!out) throw std::runtime_error("cannot write " + path);
    }

private:
    std::set<std::string> words;
};

void makeFolder(const std::string& path) {
    if (mkdir(path.c_str(), 0755) != 0 && errno != EEXIST)
        throw std::runtime_error("cannot make the folder " + path);
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s FOLDER\n", argv[0]);
        return 2;
    }
    const std::string folder = argv[1];
    try {
        for (const std::string sub : {"", "/dict", "/corpus", "/corpus/handle_message"})
            makeFolder(folder + sub);
        Dictionary events, requests, answers, readers;
        events.tags(protocol::kMethodTag);
        requests.tags(protocol::kMethodTag);
        requests.word(protocol::requests::kSignalling);
        for (const std::string_view word :
             {"<", ">", "</", "-", "+", " ", "\t", "0", "2147483647", "-2147483648", "99999999999"})
            readers.word(word);
        for (const protocol::ResultWord& result : protocol::kResultWords)
            answers.word(result.word);
        for (const std::string_view word :
             {protocol::kFailureWord, protocol::kTrueWord, protocol::kFalseWord})
            answers.word(word);
        for (const std::string_view state : protocol::kServiceStateNames) {
            answers.word(state);
            requests.word(state);
        }
        for (const std::string_view word : protocol::kFlagWords)
            requests.word(word);
        std::apply(
            [&](const auto&... entry) {
                const auto add = [&](const auto& event) {
                    events.word(event.method);
                    samples::forEachElement(
                        event, [](auto kind, auto) { return samples::valueOf(kind); },
                        [&](std::string_view tag, protocol::FieldKind kind, std::string_view) {
                            if (kind != protocol::FieldKind::payload) {
                                events.tags(tag);
                                readers.tags(tag);
                            }
                        });
                    std::ofstream(folder + "/corpus/handle_message/" + std::string(event.method))
                        << samples::event(event);
                };
                (add(entry), ...);
            },
            protocol::events::all);
        std::apply(
            [&](const auto&... entry) {
                const auto add = [&](const auto& request) {
                    requests.word(request.method);
                    std::apply([&](const auto&... field) { (requests.tags(field.tag), ...); },
                               request.fields);
                    using Answer = std::decay_t<decltype(request.answer)>;
                    if constexpr (protocol::answers::isTagged<Answer>) {
                        answers.tags(request.answer.resultTag);
                        readers.tags(request.answer.resultTag);
                        std::apply(
                            [&](const auto&... field) {
                                ((answers.tags(field.tag), readers.tags(field.tag)), ...);
                            },
                            request.answer.fields);
                    }
                };
                (add(entry), ...);
            },
            protocol::requests::all);
        events.write(folder + "/dict/events.dict", "Event method names and element tags");
        requests.write(folder + "/dict/requests.dict", "Request method names and field tags");
        answers.write(folder + "/dict/answers.dict", "Result words and answer fields");
        readers.write(folder + "/dict/readers.dict", "Tags of fields and pieces of numbers");
    } catch (const std::exception& error) {
        std::fprintf(stderr, "comms_fuzz_seeds: %s\n", error.what());
        return 1;
    }
    return 0;
}
