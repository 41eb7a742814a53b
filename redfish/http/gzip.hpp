#ifndef DP_REDFISH_HTTP_GZIP_HPP
#define DP_REDFISH_HTTP_GZIP_HPP

#include <memory>
#include <string>
#include <string_view>

namespace dp_redfish {

/// Compresses a text piece by piece into the gzip format.
class gzip_encoder {
  public:
    /// Throws std::bad_alloc without enough memory.
    gzip_encoder();
    ~gzip_encoder();
    gzip_encoder(const gzip_encoder&) = delete;
    gzip_encoder& operator=(const gzip_encoder&) = delete;

    /// Takes the next piece.
    void append(std::string_view piece);

    /// Ends the text and returns all that was made from it. Call it once, last.
    std::string finish();

  private:
    void run(std::string_view piece, int flush);

    struct state;
    std::unique_ptr<state> state_;
    std::string out_;
};

/// Whether a client takes gzip, by its field Accept-Encoding.
bool accepts_gzip(std::string_view accept_encoding);

}  // namespace dp_redfish

#endif
