#pragma once

#include <string>

#include "CommunicationsService/CommunicationsServiceEventIfc.h"
#include "CommunicationsService/framework/Executable.h"
#include "CommunicationsService/framework/ProxyRequest.h"

// Turns each event text of the service into one call of the subscriber's callbacks.
// Handlers are public so that each can be driven on its own.
class FRAMEWORK_API CommunicationsServiceEventInvoker : public Invoker {
public:
    void handleMessage(Executable* subscriber, const char* msg, int len,
                       InvokerResponse* response) override;

    void callStateChangeEvent(CommunicationsServiceEventIfc* subscriber, std::string& message);
    void registrationStateChangeEvent(CommunicationsServiceEventIfc* subscriber,
                                      std::string& message);
    void incomingCallEvent(CommunicationsServiceEventIfc* subscriber, std::string& message);
    void incomingPickupCallEvent(CommunicationsServiceEventIfc* subscriber, std::string& message);
    void callHeldEvent(CommunicationsServiceEventIfc* subscriber, std::string& message);
    void callRetrievedEvent(CommunicationsServiceEventIfc* subscriber, std::string& message);
    void featureSuccessEvent(CommunicationsServiceEventIfc* subscriber, std::string& message);
    void featureFailedEvent(CommunicationsServiceEventIfc* subscriber, std::string& message);
    void remoteEndpointDetailsChangedEvent(CommunicationsServiceEventIfc* subscriber,
                                           std::string& message);
    void incomingCallMissedEvent(CommunicationsServiceEventIfc* subscriber, std::string& message);
    void callForwardedEvent(CommunicationsServiceEventIfc* subscriber, std::string& message);
    void messageWaitingEvent(CommunicationsServiceEventIfc* subscriber, std::string& message);
    void doNotDisturbEvent(CommunicationsServiceEventIfc* subscriber, std::string& message);
    void agentStateEvent(CommunicationsServiceEventIfc* subscriber, std::string& message);
    void systemStatusEvent(CommunicationsServiceEventIfc* subscriber, std::string& message);
    void serverFeatureStatusEvent(CommunicationsServiceEventIfc* subscriber, std::string& message);
    void incomingAssociatedCallEvent(CommunicationsServiceEventIfc* subscriber,
                                     const std::string& message);
    void b2buaCSTAResponse(CommunicationsServiceEventIfc* subscriber, std::string& message);
    void b2buaCSTAEventOrRequest(CommunicationsServiceEventIfc* subscriber, std::string& message);
    void conferenceStatusEvent(CommunicationsServiceEventIfc* subscriber, std::string& message);
    void securityStatusChanged(CommunicationsServiceEventIfc* subscriber, std::string& message);
    void preemptionStatusChanged(CommunicationsServiceEventIfc* subscriber, std::string& message);
    void impactLevelChanged(CommunicationsServiceEventIfc* subscriber, std::string& message);
    void callRecordingStatusEvent(CommunicationsServiceEventIfc* subscriber, std::string& message);
    void callCompletionEvent(CommunicationsServiceEventIfc* subscriber, std::string& message);
    void callCompletionFailedEvent(CommunicationsServiceEventIfc* subscriber, std::string& message);
    void bluetoothAudioStatusChanged(CommunicationsServiceEventIfc* subscriber,
                                     std::string& message);

    // Field readers for events: the end tag must follow the start tag, otherwise the field
    // counts as missing ("" or -1).
    std::string getParamAsString(const std::string& startTag, const std::string& message,
                                 const std::string& endTag);
    long getParamAsLong(const std::string& startTag, const std::string& message,
                        const std::string& endTag);
};
