#ifndef VICTORY_ORVANESERVER_ORVANESERVERMAIN_H
#define VICTORY_ORVANESERVER_ORVANESERVERMAIN_H

#include "face/FACE_Common.h"

#include <atomic>
#include <functional>

/// The process entry's own state: what the signal handler writes, and how long the main thread pauses.
extern std::atomic<unsigned char> exitFlag;  ///< 1 once a signal has asked the service to end
extern std::atomic<int> exitSignal;          ///< the last signal received
extern int transactionPollMs;                ///< milliseconds between tries of a life-cycle call; below 1, no pause
extern int exitPollMs;                       ///< milliseconds between looks at `exitFlag`; below 1, no pause

/// Makes a life-cycle call again and again, `transactionPollMs` apart, until it answers other than `IN_PROGRESS`.
void callOnceTransactionally(std::function<void(FACE::RETURN_CODE_TYPE::Value&)> call,  // NOLINT(performance-*)
                             FACE::RETURN_CODE_TYPE::Value& rc);

/// Sees to it that the console never stops the service: to be called before anything is opened or printed.
void SetupConsole();

/// Lets `SignalHandler` take the signals that end the service in order. SIGSEGV and SIGHUP deliberately keep their
/// default action.
void SetupSignalHandler();

/// Remembers the signal and asks the service to end.
void SignalHandler(int signal);

/// To be called behind `SetupSignalHandler`: SIGILL, SIGBUS and SIGFPE still go to `SignalHandler` when somebody sends
/// them, but take their default action, behind a line on standard error, when an instruction of the process itself
/// raises them. It would be begun anew behind the handler, and raise them for ever.
void LetFaultsEndTheProcess();

#endif
