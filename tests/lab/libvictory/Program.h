#ifndef TESTS_LAB_LIBVICTORY_PROGRAM_H
#define TESTS_LAB_LIBVICTORY_PROGRAM_H

#include "VICTORY/libvictory/victory.h"
#include "tests/support/TemporaryDirectory.h"

#include <cstdlib>
#include <string>

constexpr const char* kConfiguration = "<configuration/>";

/// A VCL text with the two update periods in milliseconds.
inline std::string vclWith(const std::string& blendedNavigation, const std::string& navWarSa)
{
    const auto item = [](const std::string& type, const std::string& period) {
        return "<item type=\"" + type + "\"><items><item name=\"updatePeriod\" value=\"" + period +
               "\"/></items></item>";
    };
    return "<?xml version=\"1.0\"?>\n<vcl:VCL xmlns:vcl=\"urn:vcl\">\n" +
           item("ASSURED_PNT_BLENDED_NAVIGATION", blendedNavigation) + "\n" + item("ASSURED_PNT_NAVWAR_SA", navWarSa) +
           "\n</vcl:VCL>";
}

/// A program of the library with a bus of its own and one service. Ends the service, if that still lives.
class Program {
public:
    explicit Program(const std::string& vcl = vclWith("1000", "1000"))
    {
        ::setenv("ORVANE_LAB_BUS", busPath().c_str(), 1);
        m_service = vapntsNewService(kConfiguration, vcl.c_str());
    }
    ~Program()
    {
        end();
        ::unsetenv("ORVANE_LAB_VICTORY");
    }
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    std::string busPath() const { return m_directory.path() / "bus"; }
    const TemporaryDirectory& directory() const { return m_directory; }
    VapntsService* service() const { return m_service; }

    void end()
    {
        if (m_service) vapntsDeleteService(m_service);
        m_service = nullptr;
    }

private:
    TemporaryDirectory m_directory;
    VapntsService* m_service = nullptr;
};

#endif
