#include "tests/support/TdsPeer.h"

#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>

#include "tests/support/Loopback.h"

namespace kr {

namespace {

enum Packet : uint8_t { Batch = 1, Reply = 4, Attention = 6, Login = 0x10, Prelogin = 0x12 };

void put(std::string& out, uint64_t number, size_t bytes) {
    for (size_t i = 0; i < bytes; ++i)
        out += static_cast<char>(number >> (8 * i) & 0xFF);
}
unsigned at(const std::string& text, size_t place, size_t bytes) {
    unsigned number = 0;
    for (size_t i = 0; i < bytes && place + i < text.size(); ++i)
        number |= static_cast<unsigned>(static_cast<uint8_t>(text[place + i])) << (8 * i);
    return number;
}
std::string wide(const std::string& ascii) {
    std::string out;
    for (const char c : ascii)
        put(out, static_cast<uint8_t>(c), 2);
    return out;
}
std::string narrow(const std::string& units) {
    std::string out;
    for (size_t i = 0; i + 1 < units.size(); i += 2)
        out += units[i];
    return out;
}
/// A text behind its length in characters.
std::string counted(const std::string& ascii, size_t bytes = 1) {
    std::string out;
    put(out, ascii.size(), bytes);
    return out + wide(ascii);
}
std::string token(uint8_t kind, const std::string& body) {
    std::string out(1, static_cast<char>(kind));
    put(out, body.size(), 2);
    return out + body;
}
std::string done(uint16_t status, uint64_t rows = 0) {
    std::string out("\xFD", 1);
    put(out, status, 2);
    put(out, 0, 2);
    put(out, rows, 8);
    return out;
}
std::string errorBytes(uint32_t number, uint8_t severity, const std::string& text) {
    std::string body;
    put(body, number, 4);
    put(body, 1, 1);
    put(body, severity, 1);
    body += counted(text, 2) + counted("peer") + counted("");
    put(body, 1, 4);
    return token(0xAA, body) + done(2);
}

bool readAll(int fd, char* to, size_t size) {
    for (ssize_t got = 0; size > 0; to += got, size -= static_cast<size_t>(got))
        if ((got = recv(fd, to, size, 0)) <= 0)
            return false;
    return true;
}
/// A message of one or more packets.
bool receive(int fd, uint8_t& kind, std::string& body) {
    body.clear();
    for (bool last = false; !last;) {
        char head[8];
        if (!readAll(fd, head, sizeof head))
            return false;
        kind = static_cast<uint8_t>(head[0]);
        last = head[1] & 1;
        const size_t size = static_cast<size_t>(static_cast<uint8_t>(head[2])) << 8U |
                            static_cast<uint8_t>(head[3]);
        const size_t begin = body.size();
        body.resize(begin + size - sizeof head);
        if (!readAll(fd, body.data() + begin, size - sizeof head))
            return false;
    }
    return true;
}
void reply(int fd, const std::string& body) {
    constexpr size_t kMost = 4088;
    for (size_t begin = 0; begin < body.size(); begin += kMost) {
        const std::string piece = body.substr(begin, kMost);
        const size_t size = piece.size() + 8;
        std::string packet{static_cast<char>(Reply),
                           static_cast<char>(begin + kMost >= body.size() ? 1 : 0),
                           static_cast<char>(size >> 8U),
                           static_cast<char>(size),
                           0,
                           0,
                           1,
                           0};
        packet += piece;
        if (send(fd, packet.data(), packet.size(), MSG_NOSIGNAL) < 0)
            return;
    }
}
std::string field(const std::string& login, size_t place, bool secret = false) {
    std::string text = login.substr(std::min<size_t>(at(login, place, 2), login.size()),
                                    2 * at(login, place + 2, 2));
    for (char& c : text)
        if (secret) {
            const auto mixed = static_cast<uint8_t>(static_cast<uint8_t>(c) ^ 0xA5);
            c = static_cast<char>(static_cast<uint8_t>(mixed << 4 | mixed >> 4));
        }
    return narrow(text);
}
std::string cellBytes(const Value& value, bool text) {
    std::string out;
    if (const auto* number = value.get<int32_t>()) {
        put(out, 4, 1);
        put(out, static_cast<uint32_t>(*number), 4);
    } else if (const auto* flag = value.get<bool>()) {
        put(out, 1, 1);
        put(out, *flag ? 1 : 0, 1);
    } else if (value.empty()) {
        put(out, text ? 0xFFFF : 0, text ? 2 : 1);
    } else {
        put(out, value.text().size() * 2, 2);
        out += wide(value.text());
    }
    return out;
}
std::string resultBytes(const TdsPeer::Answer& answer) {
    std::string out("\x81", 1);
    put(out, answer.columns.size(), 2);
    for (size_t i = 0; i < answer.columns.size(); ++i) {
        const Value& sample = answer.rows.empty() ? Value("") : answer.rows[0][i];
        put(out, 0, 4);
        put(out, 1, 2); // nullable
        if (sample.is<int32_t>())
            out += std::string("\x26\4", 2);
        else if (sample.is<bool>())
            out += std::string("\x68\1", 2);
        else
            out += std::string("\xE7\x40\x1F\x09\x04\xD0\0\x34", 8);
        out += counted(answer.columns[i]);
    }
    for (const auto& row : answer.rows) {
        out += '\xD1';
        for (size_t i = 0; i < row.size(); ++i)
            out += cellBytes(row[i], answer.rows[0][i].is<std::string>());
    }
    return out + done(0x10, answer.rows.size());
}

} // namespace

TdsPeer::TdsPeer() {
    const ListeningSocket listening = ListenOnLoopback();
    m_listener = listening.fd;
    port = listening.port;
    m_acceptor = std::thread([this] { accept(); });
}
TdsPeer::~TdsPeer() {
    shutdown(m_listener, SHUT_RDWR);
    m_acceptor.join();
    {
        const std::lock_guard lock(m_mutex);
        for (const int fd : m_clients)
            shutdown(fd, SHUT_RDWR);
    }
    for (std::thread& thread : m_threads)
        thread.join();
    for (const int fd : m_clients)
        close(fd);
    close(m_listener);
}

void TdsPeer::accept() {
    for (;;) {
        const int fd = ::accept(m_listener, nullptr, nullptr);
        if (fd < 0)
            return;
        const std::lock_guard lock(m_mutex);
        m_clients.push_back(fd);
        m_threads.emplace_back([this, fd] { serve(fd); });
    }
}

void TdsPeer::serve(int fd) {
    uint8_t kind = 0;
    std::string body;
    bool dead = false;
    while (receive(fd, kind, body)) {
        if (kind == Prelogin)
            reply(fd, std::string("\0\0\x0B\0\6\1\0\x11\0\1\xFF\x0C\0\0\0\0\0\2", 18));
        else if (kind == Login)
            reply(fd, login(body));
        else if (kind == Attention && !dead)
            reply(fd, done(0x20));
        else if (kind == Batch)
            dead = batch(fd, narrow(body.substr(std::min<size_t>(at(body, 0, 4), body.size()))));
    }
}

std::string TdsPeer::login(const std::string& body) {
    const std::string name = field(body, 40), wanted = field(body, 68);
    {
        const std::lock_guard lock(m_mutex);
        m_logins.push_back(field(body, 48) + "|" + wanted);
    }
    if (name != user || field(body, 44, true) != password)
        return errorBytes(18456, 14, "Login failed for user '" + name + "'.");
    if (wanted != database)
        return errorBytes(4060, 11,
                          "Cannot open database \"" + wanted +
                              "\" requested by the login. The login failed.");
    std::string ack("\1\x74\0\0\4", 5);
    ack += counted("Microsoft SQL Server") + std::string("\x0C\0\0\0", 4);
    return token(0xE3, "\1" + counted(database) + counted("master")) + token(0xAD, ack) + done(0);
}

bool TdsPeer::batch(int fd, const std::string& text) {
    {
        const std::lock_guard lock(m_mutex);
        m_batches.push_back(text);
    }
    if (text == kHang || text == kDead)
        return text == kDead;
    const auto found = answers.find(text);
    if (found != answers.end())
        reply(fd, resultBytes(found->second));
    else if (text.starts_with("SET ") || text.starts_with("set ") || text.starts_with("use "))
        reply(fd, done(0));
    else if (text.starts_with("SELEC "))
        reply(fd, errorBytes(102, 15, "Incorrect syntax near 'SELEC'."));
    else
        reply(fd, errorBytes(208, 16, "Invalid object name '" + text + "'."));
    return false;
}

} // namespace kr
