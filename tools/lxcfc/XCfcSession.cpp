// SPDX-License-Identifier: MIT
#include "XCfcSession.h"

#include "XProcessMemory.h"

#include <objbase.h>

#include <filesystem>

namespace {
constexpr LONG EverythingInBulk = 15; // attributes 1, groups 2, pages 4, editors 8

std::filesystem::path ProgramFolder() {
    OLECHAR program[1024] = {};
    const DWORD length = GetModuleFileNameW(nullptr, program, static_cast<DWORD>(std::size(program)));
    return std::filesystem::path(XLXText(program, length)).parent_path();
}
} // namespace

std::unique_ptr<XToolServer> LXMakeServer(const XServerChoice& choice) {
    if (!choice.progId.empty()) { return LXRegisteredToolServer(choice.progId); }
    if (choice.generated > 0) {
        XGeneratorOptions options;
        options.types = choice.generated;
        return LXLocalToolServer(LXGenerateModel(options));
    }
    const std::string file = choice.model.empty() ? LXShippedModel() : choice.model;
    try {
        return LXLocalToolServer(LXReadModel(file));
    } catch (const std::invalid_argument& error) {
        throw XToolFailure("the model " + file + " cannot be used: " + error.what());
    }
}

std::string LXShippedModel() {
    const std::filesystem::path folder = ProgramFolder();
    for (const auto& candidate : {folder / "models", folder / ".." / "share" / "lxconfigfactorycache" / "models",
                                  std::filesystem::path(LX_MODEL_FOLDER)}) {
        std::error_code ignored;
        if (std::filesystem::exists(candidate / "plant.json", ignored)) { return (candidate / "plant.json").string(); }
    }
    throw XToolFailure("the shipped model plant.json is neither beside the program nor where it was "
                       "installed: name one with --model");
}

XCfcSession::XCfcSession(const XServerChoice& choice)
    : m_server(LXMakeServer(choice)), m_direct(m_server->ConfigFactory()), m_cache(m_component.Activate()) {
    m_server->SetDelay(std::chrono::microseconds(static_cast<long long>(choice.delay * 1000)));
    XLXVariantVector values;
    values.push_back(XLXComVariant::FromUnknown(m_direct.Get()));
    values.push_back(XLXComVariant::FromUnknown(m_server->Query().Get()));
    values.push_back(XLXComVariant::FromUnknown(m_server->DataUpdate().Get()));
    values.push_back(XLXComVariant::FromBool(false)); // no notifications: no, they are wanted
    values.push_back(XLXComVariant::FromBool(false)); // separate callback object
    values.push_back(XLXComVariant::FromI4(EverythingInBulk));
    const std::size_t before = LXProcessMemory();
    LXExpect(m_cache.As<IDPFObject>()->Initialize(static_cast<ULONG>(values.size()), &values[0].Get()),
             "IDPFObject::Initialize");
    m_memory = LXProcessMemory() - std::min(before, LXProcessMemory());
    m_factory = m_cache.As<ILXConfigFactory>();
}

XCfcSession::~XCfcSession() { m_cache.As<IDPFObject>()->Terminate(); }

XLXComPtr<ILXType> XCfcSession::Type(const std::string& name) const {
    XLXComPtr<ILXType> type;
    const HRESULT result = m_factory->GetType(LXBstr(name).Get(), nullptr, type.Put());
    if (result == S_FALSE) { throw XToolFailure("there is no type \"" + name + "\" (GetType answered S_FALSE)"); }
    LXExpect(result, "GetType");
    return type;
}

void XCfcSession::EditAtRandom(unsigned seed, unsigned count, bool notify) const {
    m_server->Edit("{\"edit\":\"RandomEdits\",\"seed\":" + std::to_string(seed) +
                   ",\"count\":" + std::to_string(count) + ",\"notify\":" + (notify ? "true" : "false") + "}");
}
