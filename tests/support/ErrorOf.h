#ifndef TESTS_SUPPORT_ERROROF_H
#define TESTS_SUPPORT_ERROROF_H

#include <stdexcept>
#include <string>

/// The text of the `std::runtime_error` that an operation throws; "nothing" if it throws none.
template <class Operation>
std::string errorOf(Operation operation)
{
    try {
        operation();
    } catch (const std::runtime_error& error) {
        return error.what();
    }
    return "nothing";
}

#endif
