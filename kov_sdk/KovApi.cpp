#include "kov_sdk/Catalogue_p.h"
#include "kov_sdk/ServiceCall_p.h"

using namespace KovService;

extern "C" KOV_RESULT KovApi_LoadMessageCatalogue(const char *path)
{
    return call("KovApi_LoadMessageCatalogue", [&] {
        return path ? Catalogue::instance().load(QString::fromUtf8(path)) : KOV_ERR_INVALID_ARG;
    });
}

extern "C" KOV_RESULT KovApi_GetResultDescription(KOV_RESULT code, int brief, int formatted, char *buffer,
                                                  uint32_t *size)
{
    return call("KovApi_GetResultDescription", [&] {
        if (!size)
            return KOV_ERR_INVALID_ARG;
        const auto text = Catalogue::instance().description(code, brief != 0, formatted != 0);
        return text ? copyText(text->toStdString(), buffer, size) : KOV_ERR_NO_DATA;
    });
}

extern "C" KOV_RESULT KovApi_GetMessageType(KOV_RESULT code, _KOV_MESSAGE_TYPE_ENUM *type)
{
    return call("KovApi_GetMessageType", [&] {
        if (!type)
            return KOV_ERR_INVALID_ARG;
        const auto entry = Catalogue::instance().find(code);
        if (entry)
            *type = entry->type;
        return entry ? KOV_SUCCESS : KOV_ERR_NO_DATA;
    });
}

static KOV_RESULT readFlag(const char *function, KOV_RESULT code, bool CatalogueEntry::*field, int *flag)
{
    return call(function, [&] {
        if (!flag)
            return KOV_ERR_INVALID_ARG;
        const auto entry = Catalogue::instance().find(code);
        if (entry)
            *flag = (*entry).*field ? 1 : 0;
        return entry ? KOV_SUCCESS : KOV_ERR_NO_DATA;
    });
}

extern "C" KOV_RESULT KovApi_MsgCanBeIgnored(KOV_RESULT code, int *flag)
{
    return readFlag("KovApi_MsgCanBeIgnored", code, &CatalogueEntry::mayBeHidden, flag);
}

extern "C" KOV_RESULT KovApi_HasSolutionArticle(KOV_RESULT code, int *flag)
{
    return readFlag("KovApi_HasSolutionArticle", code, &CatalogueEntry::solutionArticle, flag);
}
