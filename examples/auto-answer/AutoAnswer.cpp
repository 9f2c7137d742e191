#include "AutoAnswer.h"

#include "CommunicationsService/CommunicationsServiceTypes.h"
#include "CommunicationsService/framework/Utilities.h"

void AutoAnswer::init(Context& /*context*/) {
    const int activated = service.activate();
    if (activated != sfiSuccess) {
        log(__LINE__, "activating the service failed with result " + std::to_string(activated));
    }
    const int subscribed = service.subscribe(this);
    if (subscribed != sfiSuccess) {
        log(__LINE__, "subscribing failed with result " + std::to_string(subscribed));
    }
}

void AutoAnswer::onIncomingCallEvent(
    const std::string& lineId, int callId, const std::string& /*uri*/, const std::string& /*name*/,
    const std::string& /*fullPai*/, const std::string& /*alertUri*/,
    const std::string& /*alertInfoParam*/, bool /*alertAutoAnswer*/, int /*callType*/,
    const std::string& /*diversionUri*/, const std::string& /*diversionName*/,
    int /*diversionReason*/, bool /*zipAutoAnswer*/, int /*resourcePriority*/, int /*ilCallLevel*/,
    int /*ilLocalLevel*/, bool /*isVideoCall*/) {
    const int answered = service.answerCall(lineId, callId);
    if (answered != sfiSuccess) {
        log(__LINE__, "answering call " + std::to_string(callId) + " on line " + lineId +
                          " failed with result " + std::to_string(answered));
    }
}

void AutoAnswer::onCallStateChangeEvent(
    const std::string& lineId, int callId, int callState, int /*reason*/, int /*sendOptions*/,
    const std::string& /*uri*/, const std::string& /*name*/, const std::string& /*fullPai*/,
    CallPartyInfo* /*callPartyInfo*/, int /*resourcePriority*/, int /*preemptionCause*/,
    const std::string& /*preemptionText*/, bool /*callBackFeatureAvailable*/, int /*ilCallLevel*/,
    int /*ilLocalLevel*/) {
    log(__LINE__, "line " + lineId + " call " + std::to_string(callId) + " state " +
                      std::to_string(callState));
}

void AutoAnswer::log(int sourceLine, const std::string& message) {
    if (loggingOnAppOxa(logComponent, logLevel) != 0) {
        logAppOxa(logComponent, __FILE__, logLevel, sourceLine, message.c_str());
    }
}
