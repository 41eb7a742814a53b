#ifndef DP_DOCS_SNIPPETS_HPP
#define DP_DOCS_SNIPPETS_HPP

#include <string>

// The examples at the beginning of the API documentation's pages. `folder` is an empty folder.
namespace snippets {

void common(const std::string& folder);
void settings(const std::string& folder);
void transactions(const std::string& folder);
void batch(const std::string& folder);
void logs(const std::string& folder);
void exec(const std::string& folder);
void bios(const std::string& folder);
void platform(const std::string& folder);
void service_api(const std::string& folder);

}  // namespace snippets

#endif
