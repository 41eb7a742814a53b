#include "tests/support/redfish_process.hpp"

#include <cstddef>
#include <cstdlib>

#include "support/ascii_case.hpp"
#include "tests/support/process.hpp"
#include "tests/support/scratch_files.hpp"

namespace test {
std::string curl_answer::field(const std::string& name) const {
    const std::string lower = dp_support::lower_case(head);
    const std::string begin = "\r\n" + dp_support::lower_case(name) + ": ";
    const std::size_t place = lower.find(begin);
    if (place == std::string::npos) {
        return "";
    }
    const std::size_t value = place + begin.size();
    return head.substr(value, head.find("\r\n", value) - value);
}

redfish_process::redfish_process()
    : daemon_process("dp_redfishd", "redfish",
                     {"--port", "0", "--state-folder", state(""), "--allow-root"}) {}

std::string redfish_process::state(const std::string& name) {
    return root() + "/redfish" + (name.empty() ? "" : "/" + name);
}

std::string redfish_process::first_password() {
    const std::string text = read_file(state("accounts.json.first-password"));
    return text.substr(0, text.find('\n'));
}

curl_answer redfish_process::curl(const std::string& path,
                                  const std::vector<std::string>& arguments) const {
    const std::string head_file = root() + "/curl.head";
    write_file(head_file, "");
    std::vector<std::string> words = {"--silent",      "--show-error", "--max-time",
                                      "120",           "--cacert",     state("certificate.pem"),
                                      "--dump-header", head_file,      "--write-out",
                                      "\n%{http_code}"};
    words.insert(words.end(), arguments.begin(), arguments.end());
    words.push_back(url() + path);
    const auto ran = run_process("/usr/bin/curl", argument_list("curl", words), [] {
        // The relocatable library and a proxy are not for curl.
        for (const char* const name : {"LD_LIBRARY_PATH", "http_proxy", "https_proxy"}) {
            unsetenv(name);
        }
        return true;
    });
    curl_answer answer;
    answer.problem = ran.err;
    const std::size_t end = ran.out.rfind('\n');
    if (end != std::string::npos) {
        answer.status = static_cast<unsigned>(std::atoi(ran.out.c_str() + end + 1));
        answer.body = ran.out.substr(0, end);
    }
    // After "100 Continue" there is another.
    std::string heads = read_file(head_file);
    const std::size_t last = heads.rfind("HTTP/1.1 ");
    answer.head = last == std::string::npos ? heads : heads.substr(last);
    return answer;
}

curl_answer redfish_process::ask(const std::string& method, const std::string& path,
                                 const std::string& body,
                                 const std::vector<std::string>& arguments) const {
    std::vector<std::string> words = {"--user", "admin:" + first_password()};
    if (method == "HEAD") {
        words.emplace_back("--head");
    } else {
        words.insert(words.end(), {"--request", method});
    }
    if (!body.empty()) {
        words.insert(words.end(),
                     {"--header", "Content-Type: application/json", "--data-binary", body});
    }
    words.insert(words.end(), arguments.begin(), arguments.end());
    return curl(path, words);
}

}  // namespace test
