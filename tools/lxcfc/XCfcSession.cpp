// SPDX-License-Identifier: MIT
#include "XCfcSession.h"

#include "XCfcObjects.h"
#include "XProcessMemory.h"
#include "XSuggestion.h"

#include <objbase.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>

namespace {
constexpr LONG EverythingInBulk = LXTM_ATTRIBUTES | LXTM_GROUPS | LXTM_PAGES | LXTM_EDITORS;

std::filesystem::path ProgramFolder() {
    OLECHAR program[1024] = {};
    const DWORD length = GetModuleFileNameW(nullptr, program, static_cast<DWORD>(std::size(program)));
    return std::filesystem::path(XLXText(program, length)).parent_path();
}

XServerModel ModelIn(const std::string& file) {
    std::error_code unknown;
    const auto refuse = [&file](const std::string& why) {
        throw XToolFailure("the model " + file + " cannot be used: " + why);
    };
    if (std::filesystem::is_directory(file, unknown)) { refuse("it is a folder"); }
    if (std::filesystem::is_regular_file(file, unknown) && std::filesystem::file_size(file, unknown) == 0) {
        refuse("the file is empty");
    }
    try {
        XServerModel model = LXReadModel(file);
        if (model.types.empty()) { refuse("it has no types"); }
        return model;
    } catch (const std::invalid_argument& error) {
        throw XToolFailure("the model " + file + " cannot be used: " + error.what());
    }
}

/// Reports what the server lacks, and the consequences.
void SayWhatIsMissing(bool query, bool update) {
    const std::string missing = !query && !update ? "neither ILX_Query nor ILXDataUpdate"
                                : !query          ? "no ILX_Query"
                                                  : "no ILXDataUpdate";
    const std::string meaning = !query && !update ? "no plan types, and changes are not noticed"
                                : !query          ? "no plan types"
                                                  : "changes are not noticed";
    std::fprintf(stderr, "lxcfc: the server offers %s: %s\n", missing.c_str(), meaning.c_str());
}
} // namespace

std::unique_ptr<XToolServer> LXMakeServer(const XServerChoice& choice) {
    if (LXIsServerLibrary(choice.name)) { return LXLibraryToolServer(choice.name); }
    if (!choice.name.empty()) { return LXRegisteredToolServer(choice.name); }
    if (choice.generated > 0) {
        XGeneratorOptions options;
        options.types = choice.generated;
        return LXLocalToolServer(LXGenerateModel(options));
    }
    return LXLocalToolServer(ModelIn(choice.model.empty() ? LXShippedModel() : choice.model));
}

std::unique_ptr<XToolServer> LXServerNamed(const std::string& name) {
    std::error_code unknown;
    XServerChoice choice;
    const bool isModel =
        !LXIsServerLibrary(name) && (name.ends_with(".json") || name.find_first_of("/\\") != std::string::npos ||
                                     std::filesystem::exists(name, unknown));
    (isModel ? choice.model : choice.name) = name;
    return LXMakeServer(choice);
}

std::string LXShippedModel() {
    const std::filesystem::path folder = ProgramFolder();
    for (const auto& candidate : {folder / "models", folder / ".." / "share" / "lxconfigfactorycache" / "models",
                                  std::filesystem::path(LX_MODEL_FOLDER)}) {
        std::error_code ignored;
        if (std::filesystem::exists(candidate / "plant.json", ignored)) { return (candidate / "plant.json").string(); }
    }
    throw XToolFailure("the shipped model plant.json is neither beside the program nor where it was "
                       "installed: select one with --model");
}

XCfcSession::XCfcSession(const XServerChoice& choice)
    : m_server(LXMakeServer(choice)), m_direct(m_server->ConfigFactory()), m_cache(m_component.Activate()) {
    if (choice.delay > 0) { NeedSample("--delay"); }
    if (m_server->IsSample()) {
        m_server->SetDelay(std::chrono::microseconds(static_cast<long long>(choice.delay * 1000)));
    }
    Initialize();
    m_factory = m_cache.As<ILXConfigFactory>();
}

void XCfcSession::Initialize() {
    const auto query = m_server->Query();
    const auto update = m_server->DataUpdate();
    m_hasNotifications = static_cast<bool>(update);
    if (!query || !update) { SayWhatIsMissing(static_cast<bool>(query), static_cast<bool>(update)); }
    LXExpectThat(static_cast<bool>(m_direct.As<ILXConfigFactoryEx>()),
                 "the server's config factory has no ILXConfigFactoryEx, which the cache needs to read types");
    const auto object = [](IUnknown* service) {
        return service != nullptr ? XLXComVariant::FromUnknown(service) : XLXComVariant();
    };
    XLXVariantVector values;
    values.push_back(object(m_direct.Get()));
    values.push_back(object(query.Get()));
    values.push_back(object(update.Get()));
    values.push_back(XLXComVariant::FromBool(!update)); // no notifications: only if the server has no update service
    values.push_back(XLXComVariant::FromBool(false));   // separate callback object
    values.push_back(XLXComVariant::FromI4(EverythingInBulk));
    const std::size_t before = LXProcessMemory();
    const HRESULT result = m_cache.As<IDPFObject>()->Initialize(static_cast<ULONG>(values.size()), &values[0].Get());
    if (result != S_FALSE) { LXExpect(result, "IDPFObject::Initialize"); } // S_FALSE: the server has no types
    m_memory = LXProcessMemory() - std::min(before, LXProcessMemory());
}

XCfcSession::~XCfcSession() { m_cache.As<IDPFObject>()->Terminate(); }

XLXComPtr<ILXType> XCfcSession::Type(const std::string& name) const {
    XLXComPtr<ILXType> type;
    const HRESULT result = m_factory->GetType(LXBstr(name).Get(), nullptr, type.Put());
    if (result == S_FALSE) {
        std::vector<std::string> names;
        for (const auto& [known, node] : LXTypeNodes(*m_factory)) {
            names.push_back(known);
        }
        throw XToolFailure("there is no type \"" + name + "\" (GetType answered S_FALSE)" + LXDidYouMean(name, names));
    }
    LXExpect(result, "GetType");
    return type;
}

std::vector<std::string> XCfcSession::Browsers() const {
    return LXTextsOf(LXList<ILXBrowserId, ILXBrowserIdEnum>(
                         "GetBrowserIdEnum", [this](auto** out) { return m_factory->GetBrowserIdEnum(out); }),
                     XProperty::BrowserIdName);
}

void XCfcSession::NeedBrowser(const std::string& name) const {
    const auto browsers = name.empty() ? std::vector<std::string>() : Browsers();
    const bool known = name.empty() || std::any_of(browsers.begin(), browsers.end(), [&name](const auto& browser) {
                           return LXFolded(browser) == LXFolded(name);
                       });
    LXExpectThat(known, "there is no browser \"" + name + "\"" + LXDidYouMean(name, browsers));
}

void XCfcSession::NeedSample(const char* option) const {
    LXExpectThat(m_server->IsSample(), std::string(option) + " works only with the sample server");
}

XNotification XCfcSession::EditAtRandom(unsigned seed, unsigned count, bool notify) const {
    return m_server->Edit("{\"edit\":\"RandomEdits\",\"seed\":" + std::to_string(seed) +
                          ",\"count\":" + std::to_string(count) + ",\"notify\":" + (notify ? "true" : "false") + "}");
}
