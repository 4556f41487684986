#ifndef FACE_FACE_CONFIGURATION_H
#define FACE_FACE_CONFIGURATION_H

#include "face/FACE_Common.h"
#include "face/FACE_String.h"

#include <cstdint>

namespace FACE {

/// Named containers of named parameters. A client opens a container, reads or writes parameters of it by handle, may
/// step to other containers of its kind, and closes it. Sizes are in bytes.
class Configuration {
public:
    struct WHENCE_TYPE {
        enum Value : std::int32_t { WHENCE_BEGIN = 0, WHENCE_CURRENT = 1, WHENCE_END = 2 };
    };

    virtual ~Configuration() = default;
    virtual void Initialize(const String& configuration_path, RETURN_CODE_TYPE::Value& return_code) = 0;
    virtual void Open(const String& container_name, int& handle, RETURN_CODE_TYPE::Value& return_code) = 0;
    virtual void Get_Size(int handle, const String& set_name, int& size, RETURN_CODE_TYPE::Value& return_code) = 0;
    virtual void Read(int handle, const String& set_name, void* buffer, int buffer_size, int& bytes_read,
                      RETURN_CODE_TYPE::Value& return_code) = 0;
    virtual void Write(int handle, const String& set_name, void* buffer, int size, int& bytes_written,
                       RETURN_CODE_TYPE::Value& return_code) = 0;
    virtual void Seek(int handle, WHENCE_TYPE::Value whence, int offset, RETURN_CODE_TYPE::Value& return_code) = 0;
    virtual void Close(int handle, RETURN_CODE_TYPE::Value& return_code) = 0;

protected:
    Configuration() = default;
    Configuration(const Configuration&) = default;
    Configuration& operator=(const Configuration&) = default;
};

}  // namespace FACE

#endif
