#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "core/PlatformError.h"

namespace kr {

/// One entry of a directory. Attribute names ignore case; an absent attribute reads as "".
class DirectoryRow {
public:
    virtual ~DirectoryRow() = default;
    /// All values in order, bytes as they came.
    virtual std::vector<std::string> Values(std::string_view attribute) const = 0;
    std::string First(std::string_view attribute) const {
        auto values = Values(attribute);
        return values.empty() ? std::string() : std::move(values.front());
    }
    /// The entry's distinguished name.
    virtual std::string DN() const = 0;
};

struct DirectoryQuery {
    enum class Scope { Base, OneLevel, SubTree };
    enum class Port { Ldap, GlobalCatalog };
    Port port = Port::GlobalCatalog;
    std::string base;
    Scope scope = Scope::SubTree;
    /// Any form that the tolerant reader of filters accepts; written as RFC 4515 for the wire.
    std::string filter = "(objectClass=*)";
    std::vector<std::string> attributes;
    /// 0: one unpaged answer.
    int pageSize = 100;
    /// For each page anew.
    int timeoutSeconds = 30;
};

/// A running query. It delivers rows on the user-interface thread while events run.
class DirectorySearch {
public:
    virtual ~DirectorySearch() = default;
    virtual bool Done() const = 0;
    /// Ends it; no callback comes afterwards.
    virtual void Cancel() = 0;
};

/// A directory connection in the manner of `ADsDSOObject`.
class Directory {
public:
    virtual ~Directory() = default;
    /// Opens and binds; throws PlatformError. Server, port, TLS and account come from the machine's
    /// settings, else DNS and the person's Kerberos ticket are tried.
    virtual void Open() = 0;
    /// Opens without waiting and reads that attribute of the rootDSE. `onDone` comes once while
    /// events run, with nullptr on success, unless Close or the end of this object comes first. A
    /// connection that knows no other way waits.
    virtual void
    StartOpen(std::string_view rootAttribute,
              const std::function<void(const std::string& value, const PlatformError*)>& onDone) {
        std::string value;
        try {
            Open();
            value = RootDSE(rootAttribute);
        } catch (const PlatformError& error) {
            onDone({}, &error);
            return;
        }
        onDone(value, nullptr);
    }
    virtual bool IsOpen() const = 0;
    /// An attribute of the rootDSE, such as "rootDomainNamingContext"; throws when it can't be
    /// read.
    virtual std::string RootDSE(std::string_view attribute) = 0;
    /// Starts a query. `onDone` gets nullptr on success.
    virtual std::shared_ptr<DirectorySearch>
    Start(const DirectoryQuery& query, std::function<void(const DirectoryRow&)> onRow,
          std::function<void(const PlatformError*)> onDone) = 0;
    /// Runs a query to its end while events run; throws PlatformError.
    virtual void Execute(const DirectoryQuery& query,
                         const std::function<void(const DirectoryRow&)>& onRow) = 0;
    virtual void Close() = 0;
};

/// "Active Directory Provider": makes connections.
class DirectoryProvider {
public:
    virtual ~DirectoryProvider() = default;
    virtual std::unique_ptr<Directory> CreateConnection() = 0;
};

/// A value as it may stand in a filter: ( ) * \ and NUL as "\xx" (RFC 4515 section 3).
std::string EscapeFilterValue(std::string_view value);
/// Reads a filter as the Windows client does and writes it in RFC 4515 form; nothing when it can't
/// be read (unbalanced, empty, deeper than 100).
bool NormalizeFilter(std::string_view filter, std::string& result);

} // namespace kr
