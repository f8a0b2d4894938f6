// What the C interface hands out.
#pragma once

#include "api/picture_export.h"
#include "filter/module.h"
#include "kowen/host.h"
#include "settings/named_settings.h"

struct KowenModule {
    explicit KowenModule(const std::string &path) : filter(path) {}
    kowen::host::FilterModule filter;
};

struct KowenSettings {
    kowen::host::NamedSettings named;
};

struct KowenPrepared {
    kowen::host::PreparedPicture picture;
};
