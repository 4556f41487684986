#include "VICTORY/OrvaneServer/FaultConsole.h"

void FaultConsole::offerService()
{
    m_victoryFaultHelper.SetAvailableService(m_service.isStarted() ? m_service.service() : nullptr);
}

void FaultConsole::turn()
{
    m_service.whileHeld([this](VapntsService* service) {
        m_victoryFaultHelper.SetAvailableService(service);
        if (const auto generation = m_service.generation(); generation != m_faultHelperGeneration) {
            m_victoryFaultHelper.forgetFaults(VictoryFaultHelper::APNT);
            m_faultHelperGeneration = generation;
        }
        bool tellDisabled = m_tellDisabled;
        m_victoryFaultHelper.ManageFaults(tellDisabled);
        m_tellDisabled = tellDisabled;
    });
}
