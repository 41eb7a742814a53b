#ifndef DP_REDFISH_HTTP_COMPRESSED_TEXTS_HPP
#define DP_REDFISH_HTTP_COMPRESSED_TEXTS_HPP

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace dp_redfish {

/// The compressed forms of texts that are sent again and again, such as a registry. Forgets a text
/// when nobody else has it any more.
class compressed_texts {
  public:
    /// The compressed form of this very object; null if it is not kept.
    [[nodiscard]] std::shared_ptr<const std::string> find(
        const std::shared_ptr<const std::string>& text) const;

    /// Keeps `compressed` as the form of `text`, unless nobody but the caller has that text: then
    /// it is not sent again.
    void add(const std::shared_ptr<const std::string>& text,
             std::shared_ptr<const std::string> compressed);

  private:
    static constexpr std::size_t most_texts = 8;

    struct entry {
        std::weak_ptr<const std::string> text;
        std::shared_ptr<const std::string> compressed;
    };
    std::vector<entry> entries_;  // the oldest first
};

}  // namespace dp_redfish

#endif
