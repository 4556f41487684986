#ifndef FACE_FACE_INJECTABLE_H
#define FACE_FACE_INJECTABLE_H

#include "face/FACE_Common.h"
#include "face/FACE_Configuration.h"
#include "face/FACE_String.h"

#include <memory>

namespace FACE {

/// How a service is handed a reference to another one. The interface name and the id are accepted and ignored.
template <class Service>
class InjectableReference {
public:
    virtual ~InjectableReference() = default;
    virtual void Set_Reference(const String& interface_name, const std::shared_ptr<Service>& reference, long long id,
                               RETURN_CODE_TYPE::Value& return_code) = 0;
};

namespace Configuration_Injectable {

/// Takes the service's configuration.
using Injectable = InjectableReference<Configuration>;

}  // namespace Configuration_Injectable

namespace TSS {

class Base;

namespace Base_Injectable {

/// Takes the transport that a typed transport works on.
using Injectable = InjectableReference<Base>;

}  // namespace Base_Injectable

}  // namespace TSS

}  // namespace FACE

#endif
