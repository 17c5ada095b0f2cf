/// @file
/// The two reporting patterns. They are macros because only a macro sees the text of a
/// condition and can give each place a flag of its own; what they do is in functions.
///
/// Ownership: none.
/// Threads: any number at once; the flag of a place is atomic.
/// Errors: a broken contract throws what `ThrowError` throws; see quillet/Error.h. An
///   impossible value throws nothing.
/// Frozen: nothing; the macros are compiled into their users.

#pragma once

#include "quillet/DeveloperDialogs.h"

/// Checks a precondition: `ContractCheck(inKey != NULL, false)`. Stands at the head of the
/// operation that it guards, once per condition.
///
/// If the condition does not hold, the developer's dialog is shown its text and
/// `quillet::config::ThrowError` throws. Where a host has set a `ThrowError` that returns,
/// the operation ends here and returns what stands behind the comma (`{}` for an empty
/// reference, nothing for `void`), so that what the check guards is never entered.
#define ContractCheck(inCondition, ...)                                         \
    do {                                                                        \
        if (!(inCondition)) {                                                   \
            ::quillet::debug::ReportContract(#inCondition, __FILE__, __LINE__); \
            return __VA_ARGS__;                                                 \
        }                                                                       \
    } while (0)

/// The same in a public header, which a host compiles under a path of its own: the report
/// names `inFile`, the header's place in the repository.
#define ContractCheckIn(inFile, inCondition, ...)                             \
    do {                                                                      \
        if (!(inCondition)) {                                                 \
            ::quillet::debug::ReportContract(#inCondition, inFile, __LINE__); \
            return __VA_ARGS__;                                               \
        }                                                                     \
    } while (0)

/// Reports an impossible value, once for each place if the dialog says so, and goes on.
/// `inFunction` is the qualified name of the enclosing function.
#define AssertWithMessage(inFunction, inMessage) \
    AssertWithMessageIn(__FILE__, inFunction, inMessage)

/// The same where the code stands in another file than the source it counts as a part of: the
/// report names `inFile`.
#define AssertWithMessageIn(inFile, inFunction, inMessage)                                    \
    do {                                                                                      \
        static std::atomic<bool> sHidden{false};                                              \
        ::quillet::debug::ReportImpossible(sHidden, inMessage, inFile, __LINE__, inFunction); \
    } while (0)
