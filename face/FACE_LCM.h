#ifndef FACE_FACE_LCM_H
#define FACE_FACE_LCM_H

#include "face/FACE_Common.h"
#include "face/FACE_String.h"

#include <cstdint>

/// The life-cycle interfaces of a component. Each operation may answer `IN_PROGRESS`; its caller then asks again.
namespace FACE::LCM {

namespace Initializable {

class InitializableInstance {
public:
    virtual ~InitializableInstance() = default;
    virtual void Initialize(RETURN_CODE_TYPE::Value& return_code) = 0;
    virtual void Finalize(RETURN_CODE_TYPE::Value& return_code) = 0;
};

}  // namespace Initializable

namespace Configurable {

class ConfigurableInstance {
public:
    virtual ~ConfigurableInstance() = default;
    virtual void Configure(const String& configuration_file, RETURN_CODE_TYPE::Value& return_code) = 0;
};

}  // namespace Configurable

namespace Connectable {

class ConnectableInstance {
public:
    virtual ~ConnectableInstance() = default;
    virtual void Framework_Connect(const String& configuration_file, RETURN_CODE_TYPE::Value& return_code) = 0;
    virtual void Framework_Disconnect(RETURN_CODE_TYPE::Value& return_code) = 0;
};

}  // namespace Connectable

namespace Halvex {

/// What is asked for. The numbers are those of `ReportedState` crosswise: never read one as the other.
struct RequestedState {
    enum Value : std::int32_t { START = 0, STOP = 1 };
};

/// What a component says of itself.
struct ReportedState {
    enum Value : std::int32_t { RUNNING = 0, STOPPED = 1 };
};

namespace RequestedState_ReportedState::Stateful {

class StatefulInstance {
public:
    virtual ~StatefulInstance() = default;
    virtual void Query_State(ReportedState::Value& state, RETURN_CODE_TYPE::Value& return_code) = 0;
    virtual void Request_State_Transition(RequestedState::Value requested, RETURN_CODE_TYPE::Value& return_code) = 0;
};

}  // namespace RequestedState_ReportedState::Stateful

}  // namespace Halvex

}  // namespace FACE::LCM

#endif
