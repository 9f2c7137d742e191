// The phone's state for the panel: everything a developer looks at while an application
// runs against the simulator, named where the simulator's numbers have names.

#include <nlohmann/json.hpp>

#include "CommunicationsService/desktop/SimulatorCodes.h"
#include "PhoneService.h"

namespace simulator {

std::string PhoneService::stateJson() const {
    using Json = nlohmann::ordered_json;
    Json state;
    Json lineList = Json::array();
    for (const auto& [name, line] : lines) {
        Json forwards = Json::object();
        if (const auto found = forwarding.find(name); found != forwarding.end()) {
            for (const auto& [type, rule] : found->second)
                forwards[std::to_string(type)] = {
                    {"on", rule.status}, {"uri", rule.uri}, {"ringCount", rule.ringCount}};
        }
        lineList.push_back({{"name", name},
                            {"registered", line.registered},
                            {"doNotDisturb", line.doNotDisturb},
                            {"agentState", line.agentState},
                            {"forwarding", forwards}});
    }
    state["lines"] = lineList;
    Json callList = Json::array();
    for (const auto& [id, call] : calls) {
        callList.push_back({{"id", id},
                            {"line", call.line},
                            {"state", number(call.state)},
                            {"stateName", desktop::simulator::callStateName(call.state)},
                            {"incoming", call.incoming},
                            {"remote", call.remote.uri},
                            {"remoteName", call.remote.name},
                            {"recorded", call.recorded}});
    }
    state["calls"] = callList;
    Json lamps = Json::array();
    for (const auto& [key, mode] : lampModes)
        lamps.push_back(
            {{"key", key}, {"mode", mode}, {"modeName", desktop::simulator::lampModeName(mode)}});
    state["lamps"] = lamps;
    Json callbackList = Json::array();
    for (const Callback& callback : callbacks)
        callbackList.push_back(
            {{"line", callback.line}, {"callee", callback.callee.uri}, {"type", callback.type}});
    state["callbacks"] = callbackList;
    state["mailbox"] = {{"line", messageWaiting.line},
                        {"new", messageWaiting.newMessages},
                        {"old", messageWaiting.oldMessages},
                        {"newUrgent", messageWaiting.newUrgent},
                        {"oldUrgent", messageWaiting.oldUrgent}};
    state["devices"] = devices;
    state["serviceState"] = serviceState;
    state["systemState"] = systemState;
    state["microphoneMuted"] = microphoneMuted;
    return state.dump(-1, ' ', false, Json::error_handler_t::replace);
}

} // namespace simulator
