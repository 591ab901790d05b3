#pragma once

#include "tools/zelhub/context/CArguments.h"
#include "tools/zelhub/context/CToolContext.h"

#include <optional>

/// One command of the tool. It is made once, declares its arguments, and runs when chosen.
class ICommand
{
public:
    ICommand() = default;
    ICommand(const ICommand&) = delete;
    ICommand& operator=(const ICommand&) = delete;
    virtual ~ICommand() = default;

    virtual const char* Name() const = 0;
    virtual void Declare(CArguments& root) = 0;
    virtual bool Chosen() const = 0;

    /// Seconds of real time after which it is ended where --timeout does not say; 0: never.
    virtual double DefaultTimeout() const { return 0; }

    /// Does it. Throws CToolError when it fails.
    virtual void Run(CToolContext& context) = 0;
};

/// A command without commands below it.
class CPlainCommand : public ICommand
{
public:
    bool Chosen() const final { return m_arguments && m_arguments->Chosen(); }

protected:
    CArguments& Made(CArguments arguments)
    {
        m_arguments = arguments;
        return *m_arguments;
    }

private:
    std::optional<CArguments> m_arguments;
};
