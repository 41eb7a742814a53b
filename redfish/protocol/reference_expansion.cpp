#include "redfish/protocol/reference_expansion.hpp"

#include <atomic>
#include <utility>
#include <vector>

namespace dp_redfish {
namespace {

using dp_support::json_kind;
using dp_support::json_value;

bool is_reference(const json_value& value) {
    if (value.kind != json_kind::object || value.items.size() != 1) {
        return false;
    }
    const json_value& only = value.items.front();
    return only.name == "@odata.id" && only.kind == json_kind::text &&
           only.text.starts_with("/redfish/v1") && only.text.find('#') == std::string::npos;
}

// The expansion of one resource with all that is below it. Different threads work on different
// parts of the tree at the same time; only values that nobody else looks at are replaced.
class reference_expansion : public std::enable_shared_from_this<reference_expansion> {
  public:
    reference_expansion(std::shared_ptr<json_value> root, expansion wanted, fetch_resource fetch,
                        std::function<void()> done)
        : root_(std::move(root)),
          wanted_(wanted),
          fetch_(std::move(fetch)),
          done_(std::move(done)) {}

    void run() {
        expand(*root_, wanted_.levels);
        finish_one();
    }

  private:
    void find(json_value& value, bool is_link, std::vector<json_value*>& found) const {
        if (is_reference(value)) {
            if (is_link ? wanted_.links : wanted_.others) {
                found.push_back(&value);
            }
            return;
        }
        for (auto& item : value.items) {
            find(item, is_link || (value.kind == json_kind::object && item.name == "Links"), found);
        }
    }

    void expand(json_value& resource, unsigned levels) {
        std::vector<json_value*> found;
        for (auto& member : resource.items) {
            find(member, member.name == "Links", found);
        }
        for (json_value* const reference : found) {
            if (count_.fetch_add(1) >= most_resources) {
                return;
            }
            open_.fetch_add(1);
            fetch_(reference->items.front().text,
                   [self = shared_from_this(), reference, levels](json_value fetched) {
                       self->take(*reference, std::move(fetched), levels);
                   });
        }
    }

    void take(json_value& reference, json_value fetched, unsigned levels) {
        if (fetched.kind == json_kind::object) {
            fetched.name = std::move(reference.name);
            reference = std::move(fetched);
            if (levels > 1) {
                expand(reference, levels - 1);
            }
        }
        finish_one();
    }

    void finish_one() {
        if (open_.fetch_sub(1) == 1) {
            done_();
        }
    }

    std::shared_ptr<json_value> root_;
    expansion wanted_;
    fetch_resource fetch_;
    std::function<void()> done_;
    std::atomic<int> count_{0};
    std::atomic<int> open_{1};  // resources that are not in place yet, the root included
};

}  // namespace

void expand_references(const std::shared_ptr<json_value>& root, expansion wanted,
                       fetch_resource fetch, std::function<void()> done) {
    std::make_shared<reference_expansion>(root, wanted, std::move(fetch), std::move(done))->run();
}

}  // namespace dp_redfish
