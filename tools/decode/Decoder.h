#pragma once

// Turns protocol texts, as they stand in a log or a record of the simulator, into what the
// application sees: the callbacks the real plug-in calls for an event, the operation and
// arguments of a request, the result code of an answer. What the application got without
// the service having said it is marked: a value that came from a default because its field
// was missing, a text cut to fit a party field, a method name that ran a handler as a
// prefix or ran more than one.

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

class Invoker;
class Proxy;
class CommunicationsServiceIfc;

namespace decode {

struct Argument {
    std::string name;
    std::string value;
    // Written in quotes: a text, not a number or a flag.
    bool quoted = false;
    // Why the value is not simply what the text said: "default: no <CallID>", ...
    std::string note;
};

struct Call {
    // A callback ("onCallHeldEvent"), an operation ("answerCall"), or "answer".
    std::string name;
    std::vector<Argument> arguments;
};

struct Decoded {
    enum class Form { event, request, answer, control, client, problem };

    std::size_t lineNumber = 0;
    Form form = Form::problem;
    // What the text is: the event's or request's method, the answered method, ...
    std::string method;
    std::vector<Call> calls;
    std::vector<std::string> notes;
    // For Form::problem: what is wrong with the line.
    std::string problem;
};

std::string_view formWord(Decoded::Form form);

class Decoder {
public:
    Decoder();
    ~Decoder();
    Decoder(const Decoder&) = delete;
    Decoder& operator=(const Decoder&) = delete;

    // One line of input: a raw text (event, request or result word), or a line of a
    // record (it begins with '{').
    Decoded line(std::string_view text, std::size_t lineNumber);

    // A raw text known to be an event, a request, or the answer to `method`.
    Decoded event(std::string_view text);
    Decoded request(std::string_view text);
    Decoded answer(std::string_view method, std::string_view text);

private:
    std::unique_ptr<Invoker> invoker;
    std::unique_ptr<Proxy> proxy;
};

// "line 3: onCallHeldEvent(lineId="1001", callId=-1 (default: no <CallID>))", one line a
// call, then a line a note.
std::string toText(const Decoded& decoded);
// One JSON object, on one line.
std::string toJson(const Decoded& decoded);

} // namespace decode
