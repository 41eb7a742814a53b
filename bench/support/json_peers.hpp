#ifndef DP_BENCH_SUPPORT_JSON_PEERS_HPP
#define DP_BENCH_SUPPORT_JSON_PEERS_HPP

#include <rapidjson/document.h>
#include <simdjson.h>

#include <string>

/// The JSON libraries that readers are compared with, each in its fastest way to read JSON Lines.
namespace bench {

/// Calls `use` with each object of the text.
template <class Use>
void for_each_simdjson_object(const simdjson::padded_string& text, Use use) {
    simdjson::ondemand::parser parser;
    simdjson::ondemand::document_stream documents = parser.iterate_many(text);
    for (auto document : documents) {
        simdjson::ondemand::object object = document.get_object();
        use(object);
    }
}

/// Calls `use` with each object of the text.
template <class Use>
void for_each_rapidjson_object(const std::string& text, Use use) {
    rapidjson::StringStream in(text.c_str());
    rapidjson::MemoryPoolAllocator<> memory;
    while (true) {
        memory.Clear();
        rapidjson::Document object(&memory);
        object.ParseStream<rapidjson::kParseStopWhenDoneFlag>(in);
        if (object.HasParseError()) {
            return;  // end of the text
        }
        use(object);
    }
}

}  // namespace bench

#endif
