#ifndef UTILITIES_SHIELDED_H
#define UTILITIES_SHIELDED_H

#include <exception>

/// Runs the work of a thread or a call-back so that no exception leaves it.
/// @param body    the work
/// @param report  called with the text of a `std::exception`, or with null for anything else that `body` throws; what
///                it throws itself is dropped
template <class Body, class Report>
void shielded(Body&& body, Report&& report) noexcept
{
    try {
        try {
            body();
        } catch (const std::exception& error) {
            report(error.what());
        } catch (...) {
            report(nullptr);
        }
    } catch (...) {  // NOLINT(bugprone-empty-catch): there is nobody left to tell
    }
}

#endif
