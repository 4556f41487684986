#ifndef VICTORY_UTILITIES_VICTORYLIBRARY_H
#define VICTORY_UTILITIES_VICTORYLIBRARY_H

#include "VICTORY/libvictory/victory.h"

#include <cstdint>
#include <span>
#include <string>
#include <variant>

/// The closed bus library's operations: they are called here and nowhere else. Handles, records and types of call-backs
/// are those of its interface.
///
/// Any thread, as long as the service lives. No lock is taken, nothing is reported, and nothing is retried: what an
/// answer means is up to the caller, who says so also where it means nothing. A record is taken by reference and given
/// to the library by value, so that a call takes its size on the stack.
namespace VictoryLibrary {

/// What an operation answers.
class [[nodiscard]] Answer {
public:
    explicit constexpr Answer(int number) : m_number(number) {}

    constexpr bool isSuccess() const { return m_number == 0; }

    /// The library's own number, to be told.
    constexpr int number() const { return m_number; }

private:
    int m_number;
};

// The service's life.

/// A new service, or null when a text can't be used. Both are XML documents, zero-terminated. They stay as they are
/// until the service has been deleted: the library may go on reading them.
[[nodiscard]] VapntsService* newService(const char* configurationText, const char* vclText);

/// What the library calls for the owner of a service.
struct ServiceCallbacks {
    VapntsSaveVclidCallback saveVclid;
    VapntsTellCallback tellNavWarSa;
    VapntsTellCallback tellWarningMessages;
    VapntsTellClearSystemDataCallback clearSystemData;
    VapntsTellSystemConfigurationCallback tellSystemConfiguration;
};

/// Sets up the publication groups, and the call-backs of a service's owner. Blended Navigation has no call-back: it is
/// told when there is some.
/// @param context  of all call-backs
/// @param publicationRate  Hz, of each group
/// @return the first failure; what comes after it is set up all the same
Answer setUp(VapntsService* service, const ServiceCallbacks& callbacks, void* context, double publicationRate);

/// What the library calls for built-in tests.
struct BuiltInTestCallbacks {
    VapntsTellExecuteBuiltInTestsCallback execute;
    VapntsTellGetBuiltInTestResultsCallback getResults;
    VapntsTellClearBuiltInTestResultsCallback clearResults;
};

/// Lets clients run built-in tests from now on.
/// @param context  of all call-backs
/// @return the first failure; what comes after it is set up all the same
Answer setUpBuiltInTests(VapntsService* service, const BuiltInTestCallbacks& callbacks, void* context);

/// Starts the service's threads.
Answer startService(VapntsService* service);

/// Stops the service and frees it. Waits for call-backs that run: no lock that one of them takes may be held.
void deleteService(VapntsService* service);

// What the service tells.

/// @param time  time of validity; null for none
Answer tell(VapntsService* service, const VapntcBlendedNavigationRecord& record, const VapntcTime* time = nullptr);
Answer tell(VapntsService* service, const VapntcNavWarSaRecord& record, const VapntcTime* time = nullptr);
Answer tell(VapntsService* service, const VapntcWarningMessagesRecord& record, const VapntcTime* time = nullptr);

Answer tell(VapntsService* service, const VapntcSystemConfiguration& configuration);
Answer tell(VapntsService* service, const VapntcAvailableOutputs& outputs);
Answer tell(VapntsService* service, const VapntcAvailableSensors& sensors);

/// The results of built-in tests: over a megabyte on the stack.
Answer tell(VapntsService* service, const VapntcBitResults& results);

/// A request to clear data was taken.
Answer tellClearRequestTaken(VapntsService* service);

/// A built-in test was taken.
/// @param expectedSeconds  s until it is over
Answer tellBuiltInTestTaken(VapntsService* service, double expectedSeconds, const std::string& id);
Answer tellBuiltInTestRefused(VapntsService* service);

/// @param areCleared  every test that was asked for has been forgotten
Answer tellBuiltInTestsCleared(VapntsService* service, bool areCleared);

// Faults.

/// A service of one of the kinds in which faults can be raised.
using FaultService =
    std::variant<VpossService*, VorisService*, VdotsService*, VgpssService*, VgensService*, VapntsService*>;

/// A fault, in the words of the library.
struct Fault {
    const char* text;
    bool isAcknowledged;
    VhlthcSeverity severity;
    VhlthcCategory category;
    VhlthcAction action;
};

/// Raises a fault. Gives its id, 0 when it could not be raised.
[[nodiscard]] std::uint32_t addFault(const FaultService& service, const Fault& fault);

/// Takes a fault back.
Answer removeFault(const FaultService& service, std::uint32_t id, VhlthcAction action);

// Files.

/// Reads a whole file and ends it with a zero. A file that leaves no room for that fails; it is never cut.
Answer readTextFile(const std::string& path, std::span<char> buffer);

/// Writes a text as a whole file, without its terminating zero.
Answer writeTextFile(const char* text, const std::string& path);

/// Gives a file another text at once: whoever reads it, also after the power has failed meanwhile, finds the old one or
/// the new one. The new text is written beside it, under its name and ".replacement", and takes its place, with its
/// owner and mode; a link to it stays one. A failure leaves the file as it was; a path that can't be followed, as for
/// want of memory, is one. Where nothing can be put beside a file or in its place, as in a folder that is read-only, and
/// where there is no file yet, this is `writeTextFile`. One caller at a time for a path.
Answer replaceTextFile(const char* text, const std::string& path);

}  // namespace VictoryLibrary

#endif
