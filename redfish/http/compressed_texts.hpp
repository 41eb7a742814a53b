#ifndef DP_REDFISH_HTTP_COMPRESSED_TEXTS_HPP
#define DP_REDFISH_HTTP_COMPRESSED_TEXTS_HPP

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace dp_redfish {

/// The compressed forms of large texts that are sent again and again, such as a registry. Forgets a
/// text when nobody else has it any more.
class compressed_texts {
  public:
    /// Shorter texts are not kept: they are compressed quickly.
    static constexpr std::size_t least_size = 65536;

    /// The compressed form of this very object; null if it is not kept.
    [[nodiscard]] std::shared_ptr<const std::string> find(
        const std::shared_ptr<const std::string>& text) const;

    /// Keeps `compressed` as the form of `text` if that is long enough.
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
