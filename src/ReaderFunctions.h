// The functions of a reader, declared in the namespace of each reader by Reader.h.
// Every reader gives the same results for the same arguments.

// strtol32 of the bytes as if they stood in a string of their own: conversion stops at
// the first byte that is not part of the number, a NUL included.
long decimal(std::string_view digits);

// The rows of events::all whose method name selects an event with method name `method`.
RouteSet routesOf(std::string_view method);

// Finds the method element of an event by the invoker's rules. `fields` is where a search
// for the event's fields may begin: no start tag of a field stands before it.
ElementSpan findMethod(std::string_view event, std::size_t& fields);

// Finds the elements of the event of row `row` (eventElements lists them), by the
// invoker's rules: the first start tag, and the first end tag behind it. `spans` holds one
// span per element. `from` is a place before which no start tag of them stands.
void findEventElements(std::size_t row, std::string_view event, ElementSpan* spans,
                       std::size_t from);

// The request of row `row` of requests::all with one argument per field.
std::string requestText(std::size_t row, const Argument* arguments);

// Finds the fields of a tagged answer to the request of row `row`, then its result
// element, by the proxy's rules: the first start tag, and the first end tag anywhere.
void findAnswerElements(std::size_t row, std::string_view answer, ElementSpan* spans);
