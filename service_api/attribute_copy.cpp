#include "service_api/attribute_copy.hpp"

namespace dp_service {

attribute_copy::attribute_copy(const dp_attribute& attribute) : attribute_(attribute) {
    dp_attribute& a = attribute_;
    for (const char** const text :
         {&a.id, &a.spif, &a.grif, &a.cfg, &a.cfgname, &a.cfgsetn, &a.grp, &a.gspif, &a.ggrif,
          &a.mri, &a.dsc, &a.fds, &a.dft, &a.mfg, &a.dfa, &a.rec, &a.reg, &a.chc}) {
        *text = texts_.emplace_back(*text).c_str();
    }
}

}  // namespace dp_service
