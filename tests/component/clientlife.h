// SPDX-License-Identifier: MIT
//
// A client's complete session as a list of steps: initialisation, every kind of request, changes with their
// notifications, and termination. Tests that inject faults compare the steps with those of an undisturbed session.
#ifndef CLIENTLIFE_H
#define CLIENTLIFE_H

#include "cachefixture.h"

/// The types of LXTestModel, with relations, plan types, global format specs and data objects.
XServerModel LXLifeModel();

struct XLifeStep {
    HRESULT result = S_OK; ///< the first failure in the step, else the result of its call
    std::string answer;    ///< the texts that were read; empty unless the call returned S_OK
    bool information = false;
};
using XLifeSteps = std::map<std::string, XLifeStep>;

class XClientLife {
public:
    /// @param around  called with true before and with false after each call to the cache
    explicit XClientLife(XSampleServer& server, std::function<void(bool)> around = {}, LONG transferMode = 1);
    /// Asks a cache that somebody else has started.
    XClientLife(XSampleServer& server, XLXComPtr<ILXConfigFactoryCache> cache);
    ~XClientLife();

    /// Leaves out steps whose object could not be obtained.
    const XLifeSteps& Run();
    void AskForTypesAndRelations();
    const XLXComPtr<ILXConfigFactoryCache>& Cache() const { return m_cache; }

private:
    template <class Call> HRESULT In(Call&& call);
    XLifeStep& Note(const std::string& name, HRESULT result);
    std::string Read(XLifeStep& step, ILXConfigObject* object, int member);

    /// Calls a method; One also reads a property of the object, All of all elements, that the method hands out through
    /// its last parameter.
    template <class Face, class Method, class... Arguments>
    XLifeStep& Step(const std::string& name, Face* face, Method method, Arguments... arguments);
    template <class Face, class Method, class... Arguments>
    auto One(const std::string& name, int member, Face* face, Method method, Arguments... arguments);
    template <class Face, class Method, class... Arguments>
    void All(const std::string& name, int member, Face* face, Method method, Arguments... arguments);

    bool Start();
    void AskForTypes();
    void AskType(const std::string& prefix, ILXType* type);
    void AskGroups(const std::string& prefix, ILXType* type);
    void AskAttribute(const std::string& prefix, ILXAttribute* attribute);
    void AskForRelations();
    void AskForDerivedTypes();
    void AskForSpecs();
    void Change();
    void End();

    XSampleServer& m_server;
    const std::function<void(bool)> m_around;
    const LONG m_transferMode = 1;
    XLXComPtr<ILXConfigFactoryCache> m_cache;
    XLXComPtr<ILXConfigFactory> m_factory;
    std::string m_phase; // prefix of the step names
    XLifeSteps m_steps;
};

#endif
