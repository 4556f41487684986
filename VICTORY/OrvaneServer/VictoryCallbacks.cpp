#include "VICTORY/OrvaneServer/VictoryCallbacks.h"

#include <string>

void VictoryCallbacks::reportNoContext(const Texts& texts, const char* file, int line)
{
    switch (texts.noContextLine) {
    case Line::None:
        Reports::sendEvent(EventTypes::EVENT_FAULT, texts.noContext, file, line);
        return;
    case Line::Text:
        Reports::sendAndPrint(EventTypes::EVENT_FAULT, texts.noContext, file, line);
        return;
    case Line::Place:
        Reports::sendFault(texts.function, texts.noContext, Reports::Console::Print, file, line);
        return;
    }
}

void VictoryCallbacks::reportException(const Texts& texts, const char* what, const char* file, int line)
{
    if (!texts.exception)
        Reports::sendCallbackException(texts.function, what, file, line);
    else
        Reports::sendEvent(EventTypes::EVENT_FAULT, what ? texts.exception + std::string(what) : texts.unknown, file,
                           line);
}
