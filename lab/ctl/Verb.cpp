#include "lab/ctl/Verb.h"

#include "lab/ctl/ConnectionFile.h"
#include "lab/ctl/FieldReading.h"
#include "utilities/ConsoleLine.h"

#include <exception>
#include <iostream>

namespace orvanectl {

namespace {

ExitStatus told(ExitStatus status, const char* what)
{
    printLine(std::cerr, "orvanectl: ", what);
    return status;
}

}  // namespace

ExitStatus ended(const std::function<ExitStatus()>& work)
{
    try {
        return work();
    } catch (const UnknownName& error) {
        return told(kMisused, error.what());
    } catch (const FieldError& error) {
        return told(kMisused, error.what());
    } catch (const std::exception& error) {
        return told(kFailed, error.what());
    }
}

ExitStatus printed()
{
    return std::cout.flush() ? kDone : told(kFailed, "cannot write to standard output");
}

}  // namespace orvanectl
