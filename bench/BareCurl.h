#pragma once

#include <curl/curl.h>

#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace kr::bench {

/// The client library alone: one handle, one request after another.
class BareCurl {
public:
    BareCurl() : m_easy(curl_easy_init()) {
        curl_easy_setopt(m_easy, CURLOPT_WRITEFUNCTION, onBody);
        curl_easy_setopt(m_easy, CURLOPT_WRITEDATA, &m_body);
        curl_easy_setopt(m_easy, CURLOPT_PROXY, "");
    }
    ~BareCurl() { curl_easy_cleanup(m_easy); }
    BareCurl(const BareCurl&) = delete;
    BareCurl& operator=(const BareCurl&) = delete;

    const std::string& Get(const std::string& url) {
        curl_easy_setopt(m_easy, CURLOPT_HTTPGET, 1L);
        perform(url);
        return m_body;
    }
    void Post(const std::string& url, const std::vector<std::string>& headers,
              std::string_view body) {
        curl_slist* list = nullptr;
        for (const std::string& header : headers)
            list = curl_slist_append(list, header.c_str());
        curl_easy_setopt(m_easy, CURLOPT_HTTPHEADER, list);
        curl_easy_setopt(m_easy, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(body.size()));
        curl_easy_setopt(m_easy, CURLOPT_POSTFIELDS, body.data());
        perform(url);
        curl_easy_setopt(m_easy, CURLOPT_HTTPHEADER, nullptr);
        curl_slist_free_all(list);
    }

private:
    void perform(const std::string& url) {
        m_body.clear();
        curl_easy_setopt(m_easy, CURLOPT_URL, url.c_str());
        long status = 0;
        if (curl_easy_perform(m_easy) == CURLE_OK)
            curl_easy_getinfo(m_easy, CURLINFO_RESPONSE_CODE, &status);
        if (status != 200)
            throw std::runtime_error("the bare client got no answer from " + url);
    }
    static size_t onBody(char* data, size_t, size_t size, void* body) {
        static_cast<std::string*>(body)->append(data, size);
        return size;
    }

    CURL* m_easy;
    std::string m_body;
};

} // namespace kr::bench
