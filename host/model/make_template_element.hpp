#ifndef DP_HOST_MODEL_MAKE_TEMPLATE_ELEMENT_HPP
#define DP_HOST_MODEL_MAKE_TEMPLATE_ELEMENT_HPP

#include <memory>

#include "bios/template_info.hpp"
#include "host/model/template_element.hpp"

namespace dp_host {

/// The element for an attribute, of the class for its type.
std::unique_ptr<template_element> make_template_element(const template_info& info);

}  // namespace dp_host

#endif
