#include "bench/VICTORY/OrvaneServer/DroppingBus.h"

#include "VICTORY/libvictory/victory.h"

namespace DroppingBus {

std::int64_t published = 0;

}  // namespace DroppingBus

namespace {

VapntcBlendedNavigationRecord s_last;  // so that what is told has to be made

}  // namespace

extern "C" {

int vapntsTellBlendedNavigationData(VapntsService*, VapntcBlendedNavigationRecord record, const VapntcTime*)
{
    ++DroppingBus::published;
    s_last = record;
    return 0;
}
int vapntsTellNavWarSaData(VapntsService*, VapntcNavWarSaRecord, const VapntcTime*)
{
    return 0;
}
int vapntsTellWarningMessagesData(VapntsService*, VapntcWarningMessagesRecord, const VapntcTime*)
{
    return 0;
}
int vapntsTellSystemConfiguration(VapntsService*, VapntcSystemConfiguration)
{
    return 0;
}
int vapntsTellAvailableOutputs(VapntsService*, VapntcAvailableOutputs)
{
    return 0;
}
int vapntsTellAvailableSensors(VapntsService*, VapntcAvailableSensors)
{
    return 0;
}
int vapntsTellClearSystemData(VapntsService*, int)
{
    return 0;
}
int vapntsTellExecuteBuiltInTests(VapntsService*, double, const char*)
{
    return 0;
}
int vapntsTellGetBuiltInTestResults(VapntsService*, VapntcBitResults)
{
    return 0;
}
int vapntsTellClearBuiltInTestResults(VapntsService*, int)
{
    return 0;
}
VapntsService* vapntsNewService(const char*, const char*)
{
    static char any;
    return reinterpret_cast<VapntsService*>(&any);  // never looked into
}
int vapntsInitSaveVclidCallback(VapntsService*, VapntsSaveVclidCallback, void*)
{
    return 0;
}
int vapntsInitPubGroup(VapntsService*, int, double)
{
    return 0;
}
int vapntsInitTellCallback(VapntsService*, int, VapntsTellCallback, void*)
{
    return 0;
}
int vapntsInitTellClearSystemDataCallback(VapntsService*, VapntsTellClearSystemDataCallback, void*)
{
    return 0;
}
int vapntsInitTellSystemConfigurationCallback(VapntsService*, VapntsTellSystemConfigurationCallback, void*)
{
    return 0;
}
int vapntsInitTellExecuteBuiltInTestsCallback(VapntsService*, VapntsTellExecuteBuiltInTestsCallback, void*, int)
{
    return 0;
}
int vapntsInitTellGetBuiltInTestResultsCallback(VapntsService*, VapntsTellGetBuiltInTestResultsCallback, void*)
{
    return 0;
}
int vapntsInitTellClearBuiltInTestResultsCallback(VapntsService*, VapntsTellClearBuiltInTestResultsCallback, void*)
{
    return 0;
}
int vapntsStartService(VapntsService*)
{
    return 0;
}
void vapntsDeleteService(VapntsService*) {}
int vutilReadStringFromFile(const char*, int, char*)
{
    return 0;
}
int vutilWriteStringToFile(const char*, const char*)
{
    return 1;
}
uint32_t vapntsAddFault(VapntsService*, const char*, int, VhlthcSeverity, VhlthcCategory, VhlthcAction)
{
    return 0;
}
uint32_t vgpssAddFault(VgpssService*, const char*, int, VhlthcSeverity, VhlthcCategory, VhlthcAction)
{
    return 0;
}
uint32_t vdotsAddFault(VdotsService*, const char*, int, VhlthcSeverity, VhlthcCategory, VhlthcAction)
{
    return 0;
}
uint32_t vgensAddFault(VgensService*, const char*, int, VhlthcSeverity, VhlthcCategory, VhlthcAction)
{
    return 0;
}
uint32_t vorisAddFault(VorisService*, const char*, int, VhlthcSeverity, VhlthcCategory, VhlthcAction)
{
    return 0;
}
uint32_t vpossAddFault(VpossService*, const char*, int, VhlthcSeverity, VhlthcCategory, VhlthcAction)
{
    return 0;
}
int vapntsRemoveFault(VapntsService*, uint32_t, VhlthcAction)
{
    return 0;
}
int vgpssRemoveFault(VgpssService*, uint32_t, VhlthcAction)
{
    return 0;
}
int vdotsRemoveFault(VdotsService*, uint32_t, VhlthcAction)
{
    return 0;
}
int vgensRemoveFault(VgensService*, uint32_t, VhlthcAction)
{
    return 0;
}
int vorisRemoveFault(VorisService*, uint32_t, VhlthcAction)
{
    return 0;
}
int vpossRemoveFault(VpossService*, uint32_t, VhlthcAction)
{
    return 0;
}

}  // extern "C"
