#include "redfish/protocol/gateway.hpp"

#include <algorithm>
#include <array>
#include <atomic>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "redfish/access/identity.hpp"
#include "redfish/protocol/accepted_type.hpp"
#include "redfish/protocol/call.hpp"
#include "redfish/protocol/deferred_operations.hpp"
#include "redfish/protocol/etag.hpp"
#include "redfish/protocol/http_status.hpp"
#include "redfish/protocol/messages.hpp"
#include "redfish/protocol/query_options.hpp"
#include "redfish/protocol/reference_expansion.hpp"
#include "redfish/protocol/request_body.hpp"
#include "redfish/protocol/selection.hpp"
#include "redfish/protocol/standard_answers.hpp"
#include "support/json.hpp"

namespace dp_redfish {
namespace {

using dp_support::json_kind;
using dp_support::json_layout;
using dp_support::json_value;

constexpr const char* json_type = "application/json";

answer internal_error() {
    return error_answer(http_status::internal_error, {{"InternalError"}});
}

bool is_known_method(std::string_view method) {
    // CONNECT has no path.
    constexpr std::array<std::string_view, 8> known{"GET",   "HEAD",   "POST",    "PUT",
                                                    "PATCH", "DELETE", "OPTIONS", "TRACE"};
    return std::find(known.begin(), known.end(), method) != known.end();
}

std::string joined(const std::vector<std::string>& words) {
    std::string text;
    for (const auto& word : words) {
        text += text.empty() ? "" : ", ";
        text += word;
    }
    return text;
}

std::string percent_encoded(std::string_view text) {
    constexpr std::string_view digits = "0123456789ABCDEF";
    constexpr std::string_view plain = "-._~$*.,()";
    std::string result;
    for (const char c : text) {
        const bool is_plain = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') ||
                              (c >= '0' && c <= '9') || plain.find(c) != std::string_view::npos;
        if (is_plain) {
            result += c;
        } else {
            const auto byte = static_cast<unsigned char>(c);
            result += '%';
            result += digits[byte >> 4U];
            result += digits[byte & 0xFU];
        }
    }
    return result;
}

// The member of an object, to be changed, or null.
json_value* member_of(json_value& object, std::string_view name) {
    const auto found = std::find_if(object.items.begin(), object.items.end(),
                                    [&](const json_value& item) { return item.name == name; });
    return found == object.items.end() ? nullptr : &*found;
}

bool is_json(const answer& of) {
    const auto type = of.headers.find("Content-Type");
    return type == of.headers.end() || type->second.starts_with(json_type);
}

// The schema of a resource, from its "@odata.type": "#Bios.v1_2_3.Bios".
std::string link_to_schema_of(const json_value& body) {
    const json_value* const type = body.find("@odata.type");
    if (type == nullptr || type->kind != json_kind::text || !type->text.starts_with('#')) {
        return {};
    }
    const std::string schema = type->text.substr(1, type->text.rfind('.') - 1);
    return "<http://redfish.dmtf.org/schemas/v1/" + schema + ".json>; rel=describedby";
}

// Answers a request once, at the latest when it is dropped.
class reply {
  public:
    explicit reply(std::function<void(answer)> send) : send_(std::move(send)) {}
    ~reply() {
        if (!is_sent_) {
            try {
                send_(internal_error());
            } catch (...) {  // NOLINT(bugprone-empty-catch): the connection is closed then
            }
        }
    }
    reply(const reply&) = delete;
    reply& operator=(const reply&) = delete;

    void send(answer result) {
        if (!is_sent_.exchange(true)) {
            send_(std::move(result));
        }
    }

  private:
    std::function<void(answer)> send_;
    std::atomic<bool> is_sent_{false};
};

// Calls `step`; what it throws becomes the answer.
template <class Step>
void guarded(reply& to, Step step) {
    try {
        step();
    } catch (...) {
        to.send(internal_error());
    }
}

// Runs a route's operation.
void run_operation(const route& found, const std::shared_ptr<const http_request>& request,
                   identity caller, std::vector<std::string> parameters, json_value document,
                   std::function<void(answer)> done, std::function<bool()> begin = {}) {
    const auto to = std::make_shared<reply>(std::move(done));
    guarded(*to, [&] {
        auto made = std::make_shared<call>();
        made->request = request;
        made->caller = std::move(caller);
        made->parameters = std::move(parameters);
        made->document = std::move(document);
        made->respond = [to](answer result) { to->send(std::move(result)); };
        made->begin = std::move(begin);
        found.run(std::move(made));
    });
}

// One request, from the first check to its answer.
class exchange : public std::enable_shared_from_this<exchange> {
  public:
    exchange(const route_table& routes, deferred_operations* deferred,
             std::shared_ptr<const http_request> request, send_response respond)
        : routes_(routes),
          deferred_(deferred),
          request_(std::move(request)),
          reply_([respond = std::move(respond), request = request_](answer result) {
              respond(response_of(*request, std::move(result)));
          }) {}

    void start(access_control& access) {
        guarded(reply_, [&] {
            match_ = routes_.find(request_->method, request_->path);
            if (is_open()) {
                return run();
            }
            if (!is_open_path() && (!match_.allowed.empty() || is_redfish_path())) {
                return access.identify(
                    request_, [self = shared_from_this()](access_control::decision who) {
                        guarded(self->reply_, [&] { self->admit(std::move(who)); });
                    });
            }
            check_route();
        });
    }

    void send(answer result) { reply_.send(std::move(result)); }

  private:
    static http_response response_of(const http_request& request, answer result) {
        http_response response;
        response.status = result.status;
        response.headers = std::move(result.headers);
        if (result.text == nullptr && result.body.kind != json_kind::null) {
            result.text =
                std::make_shared<const std::string>(to_text(result.body, json_layout::one_line));
        }
        if (result.text != nullptr) {
            std::string& type =
                response.headers.try_emplace("Content-Type", json_type).first->second;
            if (accepted_type(request.header("Accept"), type).wants_utf8) {
                type += ";charset=utf-8";
            }
        }
        if (!result.etag.empty()) {
            response.headers.try_emplace("ETag", std::move(result.etag));
        }
        if (request.path.starts_with("/redfish")) {
            response.headers.try_emplace("OData-Version", "4.0");
        }
        response.body = std::move(result.text);
        response.start_stream = std::move(result.start_stream);
        return response;
    }

    [[nodiscard]] bool is_get() const {
        return request_->method == "GET" || request_->method == "HEAD";
    }

    [[nodiscard]] bool is_redfish_path() const { return request_->path.starts_with("/redfish"); }

    bool has_known_version() {
        const std::string_view version = request_->header("OData-Version");
        if (version.empty() || version == "4.0") {
            return true;
        }
        send(error_answer(http_status::precondition_failed,
                          {{"HeaderInvalid", {"OData-Version"}, {}, "The version is 4.0."}}));
        return false;
    }

    // Whether anybody may do it. A query may need resources that need a login.
    [[nodiscard]] bool is_open() const {
        return match_.found != nullptr && match_.found->needed == privileges::none &&
               !(is_get() && has_query_options(request_->query));
    }

    // Whether anybody may read the resource, and thus know its methods.
    [[nodiscard]] bool is_open_path() const {
        if (match_.found != nullptr || match_.allowed.empty()) {
            return false;
        }
        const auto get = routes_.find("GET", request_->path);
        return get.found != nullptr && get.found->needed == privileges::none;
    }

    void admit(access_control::decision who) {
        using states = access_control::decision::states;
        const bool is_needed = match_.found == nullptr || match_.found->needed != privileges::none;
        if (who.state == states::unavailable) {
            return send(unavailable_answer({}));
        }
        if (is_needed && (who.state == states::refused || !who.caller.is_logged_in())) {
            answer result = error_answer(
                http_status::unauthorized,
                {{who.state == states::refused ? "AccessUnauthorized" : "NoValidSession"}});
            add_challenge(result, *request_);
            return send(std::move(result));
        }
        if (who.state == states::known) {
            caller_ = std::move(who.caller);
        }
        if (!check_route()) {
            return;
        }
        if (!may(*match_.found)) {
            return send(not_allowed_answer(caller_));
        }
        run();
    }

    [[nodiscard]] bool may(const route& wanted) const {
        return wanted.needed == privileges::none ||
               (caller_.is_logged_in() && has_privilege(caller_.role, wanted.needed) &&
                (wanted.is_for_password_change || !caller_.must_change_password));
    }

    // Whether there is an operation; otherwise answers.
    bool check_route() {
        if (match_.found != nullptr) {
            return true;
        }
        if (!is_known_method(request_->method)) {
            send(error_answer(http_status::not_implemented, {{"OperationNotAllowed"}}));
        } else if (match_.allowed.empty()) {
            send(
                error_answer(http_status::not_found, {{"ResourceMissingAtURI", {request_->path}}}));
        } else {
            answer result =
                error_answer(http_status::method_not_allowed, {{"OperationNotAllowed"}});
            result.headers["Allow"] = joined(match_.allowed);
            send(std::move(result));
        }
        return false;
    }

    void run() {
        if (!has_known_version()) {
            return;
        }
        if (is_get()) {
            return run_get();
        }
        if (has_query_options(request_->query)) {
            return send(error_answer(http_status::bad_request, {{"QueryNotSupportedOnOperation"}}));
        }
        if (request_->method != "DELETE") {
            auto body = read_request_body(*request_);
            if (auto* const error = std::get_if<answer>(&body)) {
                return send(std::move(*error));
            }
            document_ = std::get<json_value>(std::move(body));
        }
        if (request_->method == "PATCH" && !asks_for_a_change()) {
            return send(error_answer(http_status::bad_request,
                                     {{document_.items.empty() ? "EmptyJSON" : "NoOperation"}}));
        }
        // Who may not change a resource need not know its ETag.
        if (match_.found->is_allowed &&
            !match_.found->is_allowed(caller_, match_.parameters, document_)) {
            return send(not_allowed_answer(caller_));
        }
        if (request_->method != "POST" &&
            (!request_->header("If-Match").empty() || !request_->header("If-None-Match").empty())) {
            return check_conditions();
        }
        run_change();
    }

    // Whether a PATCH has more than annotations of OData, which are ignored.
    [[nodiscard]] bool asks_for_a_change() const {
        return std::any_of(
            document_.items.begin(), document_.items.end(),
            [](const json_value& member) { return !member.name.starts_with("@odata."); });
    }

    void run_change() {
        if (deferred_ != nullptr && match_.found->may_be_deferred &&
            prefers_deferred(request_->header("Prefer"))) {
            return run_deferred();
        }
        run_operation(
            *match_.found, request_, caller_, match_.parameters, std::move(document_),
            [self = shared_from_this()](answer result) { self->send(std::move(result)); });
    }

    // Answers now, and runs the operation then.
    void run_deferred() {
        auto accepted = deferred_->accept(caller_, *request_);
        send(std::move(accepted.answer_now));
        if (accepted.finish) {
            run_operation(*match_.found, request_, caller_, match_.parameters, std::move(document_),
                          std::move(accepted.finish), std::move(accepted.begin));
        }
    }

    // Compares the ETags of the request with that of the resource. An operation whose change must
    // not be separated from this compares them again.
    void check_conditions() {
        fetch(request_->path, [self = shared_from_this()](answer result) {
            guarded(self->reply_, [&] {
                if (result.status == http_status::ok && !self->meets_conditions(etag_of(result))) {
                    return self->send(
                        error_answer(http_status::precondition_failed, {{"PreconditionFailed"}}));
                }
                self->run_change();
            });
        });
    }

    [[nodiscard]] bool meets_conditions(const std::string& etag) const {
        const std::string_view wanted = request_->header("If-Match");
        const std::string_view unwanted = request_->header("If-None-Match");
        return (wanted.empty() || lists_etag(wanted, etag)) &&
               (unwanted.empty() || !lists_etag(unwanted, etag));
    }

    // The ETag of a resource; its text is made if it was not.
    static std::string etag_of(answer& resource) {
        if (resource.etag.empty()) {
            write_text(resource);
            resource.etag = etag_of_text(*resource.text);
        }
        return resource.etag;
    }

    static void write_text(answer& resource) {
        if (resource.text == nullptr) {
            resource.text =
                std::make_shared<const std::string>(to_text(resource.body, json_layout::one_line));
        }
    }

    // GET of another resource, for the same client.
    void fetch(const std::string& path, std::function<void(answer)> done) {
        auto inner = std::make_shared<http_request>();
        inner->method = "GET";
        inner->path = path;
        inner->peer = request_->peer;
        inner->is_secure = request_->is_secure;
        auto found = routes_.find("GET", path);
        if (found.found == nullptr || !may(*found.found)) {
            return done(error_answer(http_status::not_found, {{"ResourceMissingAtURI", {path}}}));
        }
        run_operation(*found.found, inner, caller_, std::move(found.parameters), json_value(),
                      std::move(done));
    }

    void run_get() {
        if (match_.found->kind == route::kinds::stream) {
            return run_operation(*match_.found, request_, caller_, match_.parameters, json_value(),
                                 [self = shared_from_this()](answer result) {
                                     guarded(self->reply_,
                                             [&] { self->finish(std::move(result)); });
                                 });
        }
        auto query = read_query(request_->query);
        if (auto* const error = std::get_if<answer>(&query)) {
            return send(std::move(*error));
        }
        query_ = std::get<query_options>(std::move(query));
        run_operation(*match_.found, request_, caller_, match_.parameters, json_value(),
                      [self = shared_from_this()](answer result) {
                          guarded(self->reply_, [&] { self->take_resource(std::move(result)); });
                      });
    }

    void take_resource(answer result) {
        if (result.status != http_status::ok || !is_json(result)) {
            return finish(std::move(result));
        }
        if (!accepted_type(request_->header("Accept"), json_type).is_accepted) {
            return send(error_answer(
                http_status::not_acceptable,
                {{"HeaderInvalid", {"Accept"}, {}, "The resource is available as JSON."}}));
        }
        const json_value* const members = result.body.find("Members");
        const bool is_long = result.text == nullptr && members != nullptr &&
                             members->items.size() > gateway::page_size;
        if (query_.is_empty() && !is_long) {
            return finish(std::move(result));
        }
        if (result.text != nullptr) {
            result.body = dp_support::parse_json(*result.text).root;
            result.text.reset();
        }
        result.etag.clear();  // of other bytes
        resource_ = std::make_shared<json_value>(std::move(result.body));
        result_ = std::move(result);
        apply_query();
    }

    void apply_query() {
        const json_value* const members = resource_->find("Members");
        const bool is_collection = members != nullptr && members->kind == json_kind::array;
        if ((query_.only || query_.top || query_.skip) && !is_collection) {
            return send(error_answer(http_status::bad_request, {{"QueryNotSupportedOnResource"}}));
        }
        if (query_.only && members->items.size() == 1) {
            const json_value* const id = members->items.front().find("@odata.id");
            if (id != nullptr) {
                return fetch_only_member(id->text);
            }
        }
        if (is_collection) {
            take_page();
        }
        if (!query_.expanded) {
            return finish_query();
        }
        expand_references(
            resource_, *query_.expanded,
            [self = shared_from_this()](const std::string& path,
                                        std::function<void(json_value)> done) {
                self->fetch(path, [done = std::move(done)](answer fetched) {
                    json_value body;
                    if (fetched.status == http_status::ok && is_json(fetched)) {
                        body = fetched.text == nullptr ? std::move(fetched.body)
                                                       : dp_support::parse_json(*fetched.text).root;
                    }
                    done(std::move(body));
                });
            },
            [self = shared_from_this()] { guarded(self->reply_, [&] { self->finish_query(); }); });
    }

    void fetch_only_member(const std::string& path) {
        fetch(path, [self = shared_from_this()](answer fetched) {
            guarded(self->reply_, [&] {
                if (fetched.status == http_status::ok && !self->query_.selected.empty()) {
                    if (fetched.text != nullptr) {
                        fetched.body = dp_support::parse_json(*fetched.text).root;
                        fetched.text.reset();
                    }
                    fetched.etag.clear();
                    select_members(fetched.body, self->query_.selected);
                }
                self->finish(std::move(fetched));
            });
        });
    }

    // Leaves the members that the query wants, at most a page.
    void take_page() {
        auto& items = member_of(*resource_, "Members")->items;
        const std::size_t total = items.size();
        const std::size_t first = std::min(query_.skip.value_or(0), total);
        const std::size_t wanted =
            std::min(query_.top.value_or(gateway::page_size), gateway::page_size);
        const std::size_t end = std::min(first + wanted, total);
        items.erase(items.begin() + static_cast<std::ptrdiff_t>(end), items.end());
        items.erase(items.begin(), items.begin() + static_cast<std::ptrdiff_t>(first));
        if (end < total && wanted != 0) {
            resource_->set("Members@odata.nextLink", link_to(end));
        }
    }

    // The same query from a later member on.
    [[nodiscard]] std::string link_to(std::size_t first) const {
        std::string link = request_->path;
        char separator = '?';
        for (const auto& [name, value] : request_->query) {
            if (name != "$skip") {
                link += separator + percent_encoded(name);
                link += value.empty() ? std::string() : '=' + percent_encoded(value);
                separator = '&';
            }
        }
        return link + separator + "$skip=" + std::to_string(first);
    }

    void finish_query() {
        if (!query_.selected.empty()) {
            json_value* const members =
                query_.expanded ? member_of(*resource_, "Members") : nullptr;
            if (members == nullptr) {
                select_members(*resource_, query_.selected);
            } else {
                for (auto& member : members->items) {
                    select_members(member, query_.selected);
                }
            }
        }
        result_.body = std::move(*resource_);
        finish(std::move(result_));
    }

    // Answers a GET.
    void finish(answer result) {
        if (result.status == http_status::ok) {
            result.headers.try_emplace("Allow", joined(match_.allowed));
            if (result.text != nullptr || result.body.kind != json_kind::null) {
                if (auto link = link_to_schema_of(result.body); !link.empty()) {
                    result.headers.try_emplace("Link", std::move(link));
                }
                const std::string_view known = request_->header("If-None-Match");
                if (lists_etag(known, etag_of(result)) && !known.empty()) {
                    result.status = http_status::not_modified;
                    result.text.reset();
                    result.body = {};
                }
            }
        }
        send(std::move(result));
    }

    const route_table& routes_;
    deferred_operations* deferred_;
    std::shared_ptr<const http_request> request_;
    reply reply_;
    route_table::match match_;
    identity caller_;
    json_value document_;
    query_options query_;
    answer result_;
    std::shared_ptr<json_value> resource_;
};

}  // namespace

void gateway::handle(std::shared_ptr<const http_request> request, send_response respond) {
    const auto started =
        std::make_shared<exchange>(routes_, deferred_, std::move(request), std::move(respond));
    started->start(access_);
}

}  // namespace dp_redfish
