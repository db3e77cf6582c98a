// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/ModelTypes.h"

#include <array>

namespace quorrel {

namespace {

constexpr std::array types {
    ModelType { "public.generic-pc", "generic-pc.png", "" },
    ModelType { "public.server", "server.png", "public.generic-pc" },
    ModelType { "public.storage", "storage.png", "public.server" },
    ModelType { "public.phone", "phone.png", "" },
    ModelType { "com.apple.mac", "desktop.png", "" },
    ModelType { "com.apple.mac.desktop", "", "com.apple.mac" },
    ModelType { "com.apple.mac.laptop", "laptop.png", "com.apple.mac" },
    ModelType { "com.apple.mac.all-in-one", "all-in-one.png", "com.apple.mac" },
    ModelType { "com.apple.mac.server", "", "public.server" },
};

struct Model final {
    std::string_view codeBegins;
    std::string_view identifier;
};

/// The longest beginning wins. Codes are a family's name with numbers behind it, as "MacBookPro18,3".
constexpr std::array models {
    Model { "MacBook", "com.apple.mac.laptop" },
    Model { "PowerBook", "com.apple.mac.laptop" },
    Model { "iBook", "com.apple.mac.laptop" },
    Model { "iMac", "com.apple.mac.all-in-one" },
    Model { "eMac", "com.apple.mac.all-in-one" },
    Model { "Mac", "com.apple.mac.desktop" },
    Model { "PowerMac", "com.apple.mac.desktop" },
    Model { "MacSamba", "public.server" },
    Model { "RackMac", "com.apple.mac.server" },
    Model { "Xserve", "com.apple.mac.server" },
    Model { "TimeCapsule", "public.storage" },
    Model { "AirPort", "public.storage" },
    Model { "AirDisk", "public.storage" },
    Model { "iPhone", "public.phone" },
    Model { "iPod", "public.phone" },
    Model { "iPad", "public.phone" },
};

} // namespace

std::string typeIdentifierForModel(std::string_view modelCode) {
    const Model* best = nullptr;
    for (const auto& model : models)
        if (modelCode.starts_with(model.codeBegins) && (!best || model.codeBegins.size() > best->codeBegins.size()))
            best = &model;
    return best ? std::string(best->identifier) : "dyn." + std::string(modelCode);
}

const ModelType* modelType(std::string_view identifier) {
    for (const auto& type : types)
        if (type.identifier == identifier)
            return &type;
    return nullptr;
}

} // namespace quorrel
