#include "gui/platform/Digest.h"
#include "gui/tasks/download/md5/Md5_p.h"

namespace {

class SystemMd5 final : public Md5
{
public:
    void add(const char *data, std::size_t size) override { m_digest.add(data, size); }
    QByteArray hex() override { return QByteArray::fromStdString(m_digest.finish()); }

private:
    KovGui::Platform::Digest m_digest{KovGui::Platform::Digest::Kind::Md5};
};

} // namespace

extern "C" Q_DECL_EXPORT const void *kovguiFunctions()
{
    static const Md5Functions functions{
        []() -> std::unique_ptr<Md5> { return std::make_unique<SystemMd5>(); }};
    return &functions;
}
