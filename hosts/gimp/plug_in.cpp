// The plug-in as GIMP sees it: two procedures, one in the menu and one for scripts.
#include "export_window.h"

#include <libgimp/gimp.h>

#include <exception>
#include <iterator>
#include <new>
#include <string>

namespace {

using namespace kowen::gimp;

constexpr char kExport[] = "plug-in-kowen-export";
constexpr char kSave[] = "file-kowen-save";
constexpr char kAuthor[] = "kowen maintainers";
constexpr char kLicense[] = "MIT license";
constexpr char kDate[] = "2026";
constexpr char kAllTypes[] = "RGB*, GRAY*, INDEXED*";

// A parameter's place in the call.
enum Argument {
    kRunMode,
    kImage,
    kDrawable,
    kFileName,
    kRawFileName,
    kQuality,
    kProgressive,
    kGrey,
    kSettings,
    kProfile,
    kSection,
    kArguments
};

gchar *Text(const char *text) {
    return const_cast<gchar *>(text); // the records' members are not const; GIMP only reads them
}

const GimpParamDef kParameters[] = {
    {GIMP_PDB_INT32, Text("run-mode"), Text("The run mode")},
    {GIMP_PDB_IMAGE, Text("image"), Text("The image; its visible layers are saved, merged")},
    {GIMP_PDB_DRAWABLE, Text("drawable"), Text("Not used")},
    {GIMP_PDB_STRING, Text("filename"), Text("The file")},
    {GIMP_PDB_STRING, Text("raw-filename"), Text("The file as it was typed; not used")},
    {GIMP_PDB_INT32, Text("quality"), Text("45 to 100; 0 = the profile's, or 100")},
    {GIMP_PDB_INT32, Text("progressive"),
     Text("1 = progressive; 0 = the profile's, or sequential")},
    {GIMP_PDB_INT32, Text("grey"), Text("1 = grey; 0 = the profile's, or colours")},
    {GIMP_PDB_STRING, Text("settings"),
     Text("Other settings of the command line, such as 'dpi=300 background=#ff0000 exif=drop', or "
          "empty")},
    {GIMP_PDB_STRING, Text("profile"), Text("A settings profile, or empty")},
    {GIMP_PDB_STRING, Text("section"), Text("Its section, or empty: the one that it names")},
};
static_assert(std::size(kParameters) == kArguments);

void Query() {
    gimp_install_procedure(kExport,
                           "Saves the image as a JPEG file through the kowen export filter",
                           "Asks for the file and the settings in one window, and says how large "
                           "the file will be. The "
                           "image stays as it is. For scripts there is file-kowen-save.",
                           kAuthor, kLicense, kDate, "Export through _kowen...", kAllTypes,
                           GIMP_PLUGIN, kFileName, 0, kParameters, nullptr);
    gimp_plugin_menu_register(kExport, "<Image>/File/Export");
    gimp_install_procedure(
        kSave, "Saves the image as a JPEG file through the kowen export filter",
        "Saves the image as it is shown: its visible layers, within the canvas. The file appears "
        "when it is whole; a JPEG of that name is replaced then, any other file is kept. Integers "
        "that are 0 and strings that are empty stand for defaults.",
        kAuthor, kLicense, kDate, "kowen JPEG", kAllTypes, GIMP_PLUGIN, kArguments, 0, kParameters,
        nullptr);
    gimp_register_file_handler_mime(kSave, "image/jpeg");
    gimp_register_save_handler(kSave, "kjpg", "");
}

// What a script chose.
int32_t ChoicesOf(const GimpParam *params, Choices *choices, KowenResult *result) {
    const auto integer = [&](Argument argument) { return params[argument].data.d_int32; };
    const auto text = [&](Argument argument) {
        const gchar *given = params[argument].data.d_string;
        return std::string(given != nullptr ? given : "");
    };
    if (integer(kQuality) != 0)
        choices->values["quality"] = std::to_string(integer(kQuality));
    if (integer(kProgressive) != 0)
        choices->values["progressive"] = "yes";
    if (integer(kGrey) != 0)
        choices->values["colour"] = "grey";
    choices->profile = text(kProfile);
    choices->section = text(kSection);
    return AddWords(text(kSettings).c_str(), choices, result);
}

GimpPDBStatusType SaveForScript(gint32 image, const std::string &path, const Choices &choices,
                                KowenResult *result) {
    const Module module(KowenOpenModule(nullptr, result));
    return module && SaveImage(module.get(), image, choices, path, result) == KOWEN_HOST_OK
               ? GIMP_PDB_SUCCESS
               : GIMP_PDB_EXECUTION_ERROR;
}

GimpPDBStatusType SaveInWindow(gint32 image, const char *path, KowenResult *result) {
    switch (ExportFromWindow(image, path, result)) {
    case Answer::kSaved:
        return GIMP_PDB_SUCCESS;
    case Answer::kCancelled:
        return GIMP_PDB_CANCEL;
    default:
        return GIMP_PDB_EXECUTION_ERROR;
    }
}

GimpPDBStatusType Save(GimpRunMode mode, gint count, const GimpParam *params, KowenResult *result) {
    const gint32 image = params[kImage].data.d_image;
    const char *path = params[kFileName].data.d_string;
    Choices choices;
    if (path == nullptr || *path == '\0') {
        FailWith(KOWEN_HOST_ERR_ARGUMENT, "the file has no name", result);
        return GIMP_PDB_CALLING_ERROR;
    }
    if (mode == GIMP_RUN_INTERACTIVE)
        return SaveInWindow(image, path, result);
    if (mode == GIMP_RUN_WITH_LAST_VALS)
        choices = RememberedChoices();
    else if (count != kArguments || ChoicesOf(params, &choices, result) != KOWEN_HOST_OK)
        return GIMP_PDB_CALLING_ERROR;
    return SaveForScript(image, path, choices, result);
}

GimpPDBStatusType Export(GimpRunMode mode, const GimpParam *params, KowenResult *result) {
    if (mode != GIMP_RUN_NONINTERACTIVE)
        return SaveInWindow(params[kImage].data.d_image, nullptr, result);
    FailWith(KOWEN_HOST_ERR_ARGUMENT,
             "plug-in-kowen-export asks in a window; scripts call file-kowen-save", result);
    return GIMP_PDB_CALLING_ERROR;
}

// GIMP calls through C: what the C++ library throws ends here.
GimpPDBStatusType RunProcedure(const gchar *name, gint count, const GimpParam *params,
                               KowenResult *result) {
    const auto mode = static_cast<GimpRunMode>(params[kRunMode].data.d_int32);
    try {
        return std::string(name) == kSave ? Save(mode, count, params, result)
                                          : Export(mode, params, result);
    } catch (const std::bad_alloc &) {
        FailWith(KOWEN_HOST_ERR_MEMORY,
                 "not enough memory for the export; close other images and export again", result);
    } catch (const std::exception &exception) {
        FailWith(KOWEN_HOST_ERR_EXPORT, std::string("the export failed: ") + exception.what(),
                 result);
    }
    return GIMP_PDB_EXECUTION_ERROR;
}

void Run(const gchar *name, gint count, const GimpParam *params, gint *returnCount,
         GimpParam **returned) {
    static GimpParam values[2];
    static KowenResult result; // its message is read when this has returned
    result = EmptyResult();
    gegl_init(nullptr, nullptr);
    values[0].type = GIMP_PDB_STATUS;
    values[0].data.d_status = RunProcedure(name, count, params, &result);
    values[1].type = GIMP_PDB_STRING;
    values[1].data.d_string = result.message;
    const bool failed = values[0].data.d_status != GIMP_PDB_SUCCESS &&
                        values[0].data.d_status != GIMP_PDB_CANCEL && result.message[0] != '\0';
    *returnCount = failed ? 2 : 1;
    *returned = values;
}

} // namespace

const GimpPlugInInfo PLUG_IN_INFO = {nullptr, nullptr, Query, Run};

MAIN()
