#pragma once

#include "platform/Export.h"

class IPropertyEx;

/// Holds the transport for the command object; does not own it.
class ZEL_API CKyProxy
{
public:
    explicit CKyProxy(IPropertyEx* pTransport) : m_pTransport(pTransport) {}
    CKyProxy(const CKyProxy&) = delete;
    CKyProxy& operator=(const CKyProxy&) = delete;
    virtual ~CKyProxy() = default;

    IPropertyEx* GetTransport() const { return m_pTransport; }

private:
    IPropertyEx* m_pTransport;
};
