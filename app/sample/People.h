#pragma once

#include <string>
#include <vector>

#include "app/sample/Random.h"
#include "platform/store/sqlite/Organisation.h"

namespace kr {

/// Where every address of a sample lies, and what its servers are called.
inline constexpr std::string_view kSampleDomain = "example.test";
inline constexpr std::string_view kSampleDn = "/o=Example/ou=First/cn=Recipients/cn=";

/// A made-up employee.
struct SamplePerson {
    std::string first, last, name; // name: first and last
    std::string alias, smtp;
    std::string title, department, office;
    std::string phone, mobile, fax;
    std::string homeServer;      // MAIL01, MAIL02
    std::string bes, pin, model; // empty without a handheld
    std::string protocol, os;

    std::string dn() const { return std::string(kSampleDn) + alias; }
    bool hasHandheld() const { return !pin.empty(); }
};

/// That many people with different aliases; the first ones are always Anna O'Neill (whose name
/// holds an apostrophe), José Núñez-Álvarez and Zoë Åkesson.
std::vector<SamplePerson> MakePeople(SampleRandom& random, size_t count);

/// The letters a to z and digits of a name, accents dropped: "Núñez" is "nunez".
std::string PlainAlias(std::string_view name);

NewAddressEntry AddressEntryOf(const SamplePerson& person);
NewAddressEntry ListEntry(std::string_view name, int displayType);

} // namespace kr
