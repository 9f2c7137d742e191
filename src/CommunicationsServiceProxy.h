#pragma once

#include <string>
#include <vector>

#include "CommunicationsService/CommunicationsServiceIfc.h"
#include "CommunicationsService/framework/Executable.h"
#include "CommunicationsService/framework/ProxyRequest.h"

// Turns each operation of CommunicationsServiceIfc into one request on the framework's
// channel and the answer into a result. The operations below stand in the order the
// framework's Proxy table expects; applications use the interface's own order.
class FRAMEWORK_API CommunicationsServiceProxy : public Proxy, public CommunicationsServiceIfc {
public:
    CommunicationsServiceProxy();
    ~CommunicationsServiceProxy() override;

    void initProxy(ProxyRequest& channel) override;

    void processSignallingComponentEvent(const char* data, int length) override;
    int activate() override;
    int deactivate(bool allowAutoActivate) override;
    int callClear(const std::string& line, int callId, CSTAEventCause cause) override;
    int outgoingCallMake(const std::string& line, int callId, const char* destination,
                         bool dssDirectCall, bool bridgeCall, bool callCompletionCall) override;
    int acceptCall(const std::string& line, int callId, bool autoAnswer) override;
    int answerCall(const std::string& line, int callId) override;
    int deflectCall(const std::string& line, int callId, const char* destination) override;
    int holdCall(const std::string& line, int callId, sfiFeature holdCallReason,
                 bool manual) override;
    int retrieveCall(const std::string& line, int callId) override;
    int consultationCall(const std::string& line, int callId, const char* destination) override;
    int attendedTransferCall(const std::string& line, int activeCall, int heldCall) override;
    int blindTransferCall(const std::string& line, int callId, const char* destination) override;
    int refuseCall(const std::string& line, int callId, sfiRefuseCall refuseCallReason) override;
    int subscribe(Executable* subscriber) override;
    int SendCSTARequest(const std::string& line, const std::string& cstaRequest) override;
    void InitializeOrFinalizeServerFeatures(const std::string& line, bool initialize) override;
    int directedPickupCall(const std::string& line, int callId, const std::string& callToBePickedUp,
                           bool blfPickup) override;
    int groupPickupCall(const std::string& line, int callId) override;
    int activateCallbackRinging(const std::string& line, int callId) override;
    int activateCallbackBusy(const std::string& line, int callId) override;
    int cancelCallbacks(const std::string& line, int callId, const std::string& uri,
                        sfiCancelCallBackType cancelCallBackType,
                        bool displayOutcomeCallUI) override;
    int getDevices(std::vector<std::string>& devices) override;
    int setServiceState(sfiServiceState state) override;
    int getServiceState(sfiServiceState& state) override;
    int setDoNotDisturb(const std::string& line, bool doNotDisturbOn) override;
    int getDoNotDisturb(const std::string& deviceId, bool& doNotDisturbOn) override;
    int setMicrophoneMute(bool status) override;
    int getMicrophoneMute(bool& muted) override;
    int setAgentState(const std::string& line, const std::string& agentState) override;
    int systemStatus(const char* systemStatus, const char* systemStatusInfo) override;
    int generateDigits(const std::string& line, int activeCall, const char* digits) override;
    int conferenceCall(const std::string& line, int activeCall, int heldCall,
                       sfiFeature feature) override;
    void RemoveConfParticipant(int callId, const std::string& remoteParticipant,
                               const std::string& conferenceMemberId) override;
    bool getManualHoldIndication(const std::string& line, int callId) override;
    int alternateCalls(const std::string& line) override;
    int getMessageWaitingIndicator(int& type, unsigned int& newMsgs, unsigned int& oldMsgs,
                                   unsigned int& newUrgMsgs, unsigned int& oldUrgMsgs,
                                   int& returnType, int& availableInfo, int& messagesWaiting,
                                   std::string& voiceMailNumber) override;
    int setAssociatedCalls(bool associated) override;
    int setLampMode(const std::string& line, const std::string& lampId, int lampMode) override;
    int makeSecurityChangeReinvite(const std::string& line, int callId, bool forceFlag) override;
    int setForwardingConfiguration(const std::string& line, sfiForwardingType fwType, bool status,
                                   const std::string& uri, int cfnrRingCount,
                                   bool forceTKVSUpdate) override;
    int getForwardingConfiguration(sfiForwardingType fwType, bool& status, std::string& uri,
                                   int& cfnrRingCount) override;
    void setIsInServiceInitiatedState(const std::string& line,
                                      bool isInServiceInitiatedState) override;
    void callbackDOFeatureCallID(const std::string& callId, int instanceId) override;
    bool isCallHoldPossible(const std::string& line) override;
    std::string csCommunicationsService(const char* name) override;
    void activateStoredFwd() override;
    void sendUACSTAServerMessage(std::string& line, std::string& serverMessage) override;

    int getResult(std::string& response);

    // Field readers for answers. The end tag is searched from the start of the answer, so
    // a missing or misplaced end tag lets the value run to the end of the text.
    std::string getParamAsString(const std::string& startTag, const std::string& message,
                                 const std::string& endTag);
    long getParamAsLong(const std::string& startTag, const std::string& message,
                        const std::string& endTag);

    ProxyRequest* requestChannel;
};
