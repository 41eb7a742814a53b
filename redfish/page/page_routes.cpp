#include "redfish/page/page_routes.hpp"

#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "redfish/access/identity.hpp"
#include "redfish/page/page_files.hpp"
#include "redfish/protocol/call.hpp"
#include "redfish/protocol/etag.hpp"

namespace dp_redfish {
namespace {

constexpr std::string_view document_name = "index.html";

// What the page may do: load its own files and talk to this service. Text never becomes markup or
// script.
constexpr const char* document_policy =
    "default-src 'none'; script-src 'self'; style-src 'self'; connect-src 'self'; img-src 'self'; "
    "base-uri 'none'; form-action 'none'; frame-ancestors 'none'; "
    "require-trusted-types-for 'script'; trusted-types 'none'";

const char* content_type(std::string_view name) {
    if (name.ends_with(".html")) {
        return "text/html; charset=utf-8";
    }
    if (name.ends_with(".css")) {
        return "text/css; charset=utf-8";
    }
    if (name.ends_with(".js")) {
        return "text/javascript; charset=utf-8";
    }
    return name.ends_with(".svg") ? "image/svg+xml" : "text/plain; charset=utf-8";
}

void add_file(route_table& routes, const std::string& path, const page_file& file) {
    answer result;
    result.text = std::make_shared<const std::string>(file.content);
    result.etag = etag_of_text(file.content);
    result.headers["Content-Type"] = content_type(file.name);
    result.headers["Cross-Origin-Opener-Policy"] = "same-origin";
    result.headers["Cross-Origin-Resource-Policy"] = "same-origin";
    if (file.name == document_name) {
        result.headers["Content-Security-Policy"] = document_policy;
    }
    routes.add("GET", path, privileges::none,
               [result = std::move(result)](const std::shared_ptr<call>& request) {
                   request->respond(result);
               });
}

}  // namespace

void add_page_routes(route_table& routes) {
    for (const page_file& file : page_files()) {
        if (file.name == document_name) {
            add_file(routes, "/", file);
        } else if (file.name == "robots.txt") {
            add_file(routes, "/robots.txt", file);
        } else {
            add_file(routes, "/page/" + std::string(file.name), file);
        }
        // Browsers ask for it even if the page names another one.
        if (file.name == "icon.svg") {
            add_file(routes, "/favicon.ico", file);
        }
    }
}

}  // namespace dp_redfish
