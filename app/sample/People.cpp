#include "app/sample/People.h"

#include <algorithm>
#include <unordered_map>

#include "core/Text.h"

namespace kr {

namespace {

constexpr std::array<std::string_view, 56> kFirst = {
    "Anna",     "José",   "Zoë",     "Michael", "Sarah", "Łukasz",   "Siobhán", "Jürgen",
    "François", "Marta",  "David",   "Emily",   "Søren", "Chloé",    "Peter",   "Ingrid",
    "Rebecca",  "Tomáš",  "Laura",   "Daniel",  "Beyza", "Karen",    "Andrés",  "Helene",
    "Robert",   "Nadia",  "William", "Agnès",   "Mark",  "Yasmin",   "George",  "Petra",
    "Seán",     "Olga",   "Thomas",  "Renée",   "Paul",  "Linda",    "Matteo",  "Katarína",
    "James",    "Ayşe",   "Victor",  "Susan",   "Émile", "Patricia", "Kevin",   "Maja",
    "Edward",   "Noémie", "Henry",   "Ulrike",  "Oscar", "Dorothy",  "Björn",   "Grace"};

constexpr std::array<std::string_view, 64> kLast = {
    "O'Neill",   "Núñez-Álvarez", "Åkesson",   "Smith",  "Müller",   "D'Angelo",  "Kowalski",
    "Lindström", "Johnson",       "Ó Briain",  "Novák",  "García",   "Dubois",    "Brown",
    "Sørensen",  "van der Berg",  "Taylor",    "Öztürk", "Rossi",    "Williams",  "Schäfer",
    "Petrović",  "Wilson",        "Fernández", "Hughes", "Wójcik",   "Andersson", "Martin",
    "Château",   "Walker",        "Jiménez",   "Köhler", "Robinson", "Dvořák",    "O'Connor",
    "Laurent",   "Clarke",        "Nyström",   "Weiß",   "L'Hôte",   "Mitchell",  "Horváth",
    "Bergström", "Edwards",       "Moreau",    "Krüger", "Phillips", "Costa",     "Żak",
    "Campbell",  "Hernández",     "Jansen",    "Parker", "Vögel",    "Evans",     "Delgado",
    "Fischer",   "Morris",        "Çelik",     "Rogers", "Lefèvre",  "Reed",      "Håkansson",
    "Cook"};

constexpr std::array<std::string_view, 8> kDepartments = {"Sales",         "Research & Development",
                                                          "Finance",       "Human Resources",
                                                          "Field Service", "Legal",
                                                          "Operations",    "IT"};

constexpr std::array<std::string_view, 9> kTitles = {
    "Account Manager", "Engineer",        "Analyst", "Team Leader",       "Director",
    "Assistant",       "Senior Engineer", "Counsel", "Service Technician"};

constexpr std::array<std::string_view, 6> kOffices = {"Hamburg",  "London 2nd floor", "Zürich",
                                                      "Montréal", "Kraków",           "Boston"};

constexpr std::array<std::string_view, 3> kBes = {"BES-NORTH", "BES-SOUTH", "BES-LAB"};
constexpr std::array<std::string_view, 5> kModels = {"7290", "8100", "8310", "8700g", "8820"};
constexpr std::array<std::string_view, 3> kProtocols = {"GPRS", "CDMA", "iDEN"};
constexpr std::array<std::string_view, 4> kOs = {"4.0.2.49", "4.1.0.194", "4.2.1.110", "4.5.0.55"};

// Plain letters for those that the names above use.
constexpr std::pair<std::string_view, std::string_view> kPlain[] = {
    {"á", "a"}, {"à", "a"}, {"â", "a"}, {"ä", "a"}, {"å", "a"}, {"ç", "c"}, {"ć", "c"},  {"č", "c"},
    {"é", "e"}, {"è", "e"}, {"ê", "e"}, {"ë", "e"}, {"í", "i"}, {"ł", "l"}, {"ñ", "n"},  {"ó", "o"},
    {"ô", "o"}, {"ö", "o"}, {"ø", "o"}, {"ř", "r"}, {"š", "s"}, {"ş", "s"}, {"ß", "ss"}, {"ú", "u"},
    {"ü", "u"}, {"ů", "u"}, {"ý", "y"}, {"ž", "z"}, {"ż", "z"}};

std::string numberIn(SampleRandom& random, std::string_view prefix) {
    return std::string(prefix) + " " + random.digits(3) + " " + random.digits(4);
}

void giveHandheld(SampleRandom& random, SamplePerson& person) {
    if (!random.chance(72))
        return;
    // BES-LAB serves few
    person.bes = kBes[random.chance(4) ? 2 : random.below(2)];
    person.pin = "2" + random.hex(7);
    person.model = random.pick(kModels);
    person.protocol = random.pick(kProtocols);
    person.os = random.pick(kOs);
}

SamplePerson makePerson(SampleRandom& random, std::string_view first, std::string_view last) {
    SamplePerson person;
    person.first = first;
    person.last = last;
    person.name = person.first + " " + person.last;
    person.title = random.pick(kTitles);
    person.department = random.pick(kDepartments);
    person.office = random.pick(kOffices);
    person.phone = numberIn(random, "+49 40");
    person.mobile = random.chance(80) ? numberIn(random, "+49 171") : "";
    person.fax = random.chance(40) ? numberIn(random, "+49 40") : "";
    person.homeServer = random.chance(70) ? "MAIL01" : "MAIL02";
    giveHandheld(random, person);
    return person;
}

} // namespace

std::string PlainAlias(std::string_view name) {
    std::string text = ToLower(name);
    for (const auto& [letter, plain] : kPlain)
        text = ReplaceAll(text, letter, plain);
    std::erase_if(text, [](char c) { return !((c >= 'a' && c <= 'z') || (c >= '0' && c <= '9')); });
    return text;
}

std::vector<SamplePerson> MakePeople(SampleRandom& random, size_t count) {
    std::vector<SamplePerson> people;
    people.reserve(count);
    std::unordered_map<std::string, int> taken;
    for (size_t i = 0; i < count; ++i) {
        const bool fixed = i < 3;
        SamplePerson person = makePerson(random, fixed ? kFirst[i] : random.pick(kFirst),
                                         fixed ? kLast[i] : random.pick(kLast));
        const std::string base = PlainAlias(person.first) + "." + PlainAlias(person.last);
        const int number = ++taken[base];
        person.alias = base;
        if (number > 1) {
            person.alias += std::to_string(number);
            // namesakes are told apart as address books do
            person.name += " (" + person.department + " " + std::to_string(number) + ")";
        }
        person.smtp = person.alias + "@" + std::string(kSampleDomain);
        people.push_back(std::move(person));
    }
    return people;
}

NewAddressEntry AddressEntryOf(const SamplePerson& person) {
    NewAddressEntry entry;
    entry.dn = person.dn();
    entry.name = person.name;
    entry.alias = person.alias;
    entry.smtp = person.smtp;
    entry.proxies = {"smtp:" + person.alias + "@mail." + std::string(kSampleDomain)};
    entry.properties = {{PR_GIVEN_NAME, person.first},
                        {PR_SURNAME, person.last},
                        {PR_TITLE, person.title},
                        {PR_DEPARTMENT_NAME, person.department},
                        {PR_OFFICE_LOCATION, person.office},
                        {PR_COMPANY_NAME, "Example Ltd"},
                        {PR_BUSINESS_TELEPHONE_NUMBER, person.phone}};
    if (!person.mobile.empty())
        entry.properties.emplace_back(PR_MOBILE_TELEPHONE_NUMBER, person.mobile);
    if (!person.fax.empty())
        entry.properties.emplace_back(PR_BUSINESS_FAX_NUMBER, person.fax);
    return entry;
}

NewAddressEntry ListEntry(std::string_view name, int displayType) {
    NewAddressEntry entry;
    entry.alias = PlainAlias(name);
    entry.dn = std::string(kSampleDn) + entry.alias;
    entry.name = name;
    entry.displayType = displayType;
    entry.smtp = entry.alias + "@" + std::string(kSampleDomain);
    return entry;
}

} // namespace kr
