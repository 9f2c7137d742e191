#pragma once

// The C entry points of the remote subscriber library, looked up with dlsym.

class Executable;

#define REMOTE_SUBSCRIBER_API extern "C" __attribute__((visibility("default")))

// A new recording subscriber; delete it as an Executable.
REMOTE_SUBSCRIBER_API Executable* createRemoteSubscriber();

// The callbacks it received so far, one per line: onCallHeldEvent("1001", "12").
// Valid until the next call for the same subscriber.
REMOTE_SUBSCRIBER_API const char* describeRemoteCalls(Executable* subscriber);
