#ifndef VICTORY_ORVANESERVER_BUILDINFO_H
#define VICTORY_ORVANESERVER_BUILDINFO_H

/// What the build says of itself.
namespace BuildInfo {

/// When it was built, in UTC, as "2024-05-06T07:08:09Z"; the time of `SOURCE_DATE_EPOCH` if the build had that.
const char* time();

const char* partNumber();

/// A line about the maker.
const char* makersStatement();

}  // namespace BuildInfo

#endif
