#ifndef TESTS_PLATFORM_RECORDINGDEVMEM_H
#define TESTS_PLATFORM_RECORDINGDEVMEM_H

#include "face/FACE_IOSS.h"
#include "face/FACE_Text.h"

#include <algorithm>
#include <cstddef>
#include <memory>
#include <string>
#include <utility>
#include <vector>

/// Writes down what a memory device service is asked, and passes it on; an access or an opening that a test names is
/// refused instead. One thread at a time.
class RecordingDevmem : public FACE::IOSS::Devmem::IO_Service {
public:
    using Code = FACE::RETURN_CODE_TYPE;

    explicit RecordingDevmem(std::shared_ptr<FACE::IOSS::Devmem::IO_Service> service) : m_service(std::move(service)) {}

    /// What came in: "open NAME", "close NAME", "read NAME OFFSET WIDTH", "write NAME OFFSET WIDTH VALUE".
    std::vector<std::string> calls;

    /// This call is answered by `refusal` from now on.
    void refuse(const std::string& call, Code::Value refusal)
    {
        m_refused = call;
        m_refusal = refusal;
    }

    bool hasOnlyEndlessTimeouts() const { return m_hasOnlyEndlessTimeouts; }

    void Open_Connection(const FACE::String& name, long long timeout, long long& handle, Code::Value& rc) override
    {
        if (!takes("open " + FACE::textOf(name), timeout, rc)) return;
        m_service->Open_Connection(name, timeout, handle, rc);
        if (handle < 0) return;
        m_names.resize(std::max(m_names.size(), static_cast<std::size_t>(handle) + 1));
        m_names[static_cast<std::size_t>(handle)] = FACE::textOf(name);
    }
    void Close_Connection(long long handle, Code::Value& rc) override
    {
        if (takes("close " + nameOf(handle), -1, rc)) m_service->Close_Connection(handle, rc);
    }
    void Read(long long handle, long long timeout, FACE::IOSS::Devmem::READ_PAYLOAD_TYPE& payload,
              Code::Value& rc) override
    {
        payload.value = 0xDEAD;  // what a refused read leaves is nobody's value
        if (takes("read " + nameOf(handle) + " " + std::to_string(payload.offset) + " " + std::to_string(payload.width),
                  timeout, rc))
            m_service->Read(handle, timeout, payload, rc);
    }
    void Write(long long handle, long long timeout, const FACE::IOSS::Devmem::WRITE_PAYLOAD_TYPE& payload,
               Code::Value& rc) override
    {
        if (takes("write " + nameOf(handle) + " " + std::to_string(payload.offset) + " " +
                      std::to_string(payload.width) + " " + std::to_string(payload.value),
                  timeout, rc))
            m_service->Write(handle, timeout, payload, rc);
    }

    void Initialize(const FACE::String&, Code::Value& rc) override { unexpected(rc); }
    void Configure_Connection_Parameters(long long, long long, const FACE::IOSS::IO_PARAMETER_TRANSACTION_TYPE&,
                                         Code::Value& rc) override
    {
        unexpected(rc);
    }
    void Get_Connection_Configuration(long long, FACE::IOSS::IO_PARAMETER_TRANSACTION_TYPE&, Code::Value& rc) override
    {
        unexpected(rc);
    }
    void Configure_Bus_Parameters(long long, long long, const FACE::IOSS::IO_PARAMETER_TRANSACTION_TYPE&,
                                  Code::Value& rc) override
    {
        unexpected(rc);
    }
    void Get_Bus_Configuration(long long, FACE::IOSS::IO_PARAMETER_TRANSACTION_TYPE&, Code::Value& rc) override
    {
        unexpected(rc);
    }
    void Get_Connection_Status(long long, FACE::IOSS::CONNECTION_STATUS_TYPE&, Code::Value& rc) override
    {
        unexpected(rc);
    }
    void Get_Bus_Status(long long, FACE::IOSS::BUS_STATUS_TYPE&, Code::Value& rc) override { unexpected(rc); }
    void Register_Notification_Event(long long, FACE::IOSS::IO_CallbackBase&, Code::Value& rc) override
    {
        unexpected(rc);
    }
    void Unregister_Notification_Event(long long, Code::Value& rc) override { unexpected(rc); }
    void Set_Reference(const FACE::String&, const std::shared_ptr<FACE::Configuration>&, long long,
                       Code::Value& rc) override
    {
        unexpected(rc);
    }

private:
    bool takes(const std::string& call, long long timeout, Code::Value& rc)
    {
        calls.push_back(call);
        m_hasOnlyEndlessTimeouts = m_hasOnlyEndlessTimeouts && timeout == -1;
        if (call != m_refused) return true;
        rc = m_refusal;
        return false;
    }

    void unexpected(Code::Value& rc)
    {
        calls.emplace_back("unexpected");
        rc = Code::NOT_AVAILABLE;
    }

    std::string nameOf(long long handle) const
    {
        const auto index = static_cast<std::size_t>(handle);
        return handle >= 0 && index < m_names.size() ? m_names[index] : "?";
    }

    std::shared_ptr<FACE::IOSS::Devmem::IO_Service> m_service;
    std::vector<std::string> m_names;
    std::string m_refused;
    Code::Value m_refusal = Code::NO_ACTION;
    bool m_hasOnlyEndlessTimeouts = true;
};

#endif
