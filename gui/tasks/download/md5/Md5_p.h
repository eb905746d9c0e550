#pragma once

#include <QByteArray>

#include <memory>

/// One digest in the making.
class Md5
{
public:
    virtual ~Md5() = default;
    virtual void add(const char *data, std::size_t size) = 0;
    /// In the end. Empty when the cryptographic library refuses MD5.
    virtual QByteArray hex() = 0;
};

/// The module "md5". Any thread.
struct Md5Functions
{
    std::unique_ptr<Md5> (*make)();
};
