#include "export_window.h"

#include "file_name.h"
#include "settings_panel.h"
#include "size_preview.h"
#include "widgets.h"

#include <optional>

namespace kowen::gimp {
namespace {

constexpr char kRole[] = "kowen-export";
constexpr char kHelp[] = "plug-in-kowen-export";
constexpr int kResponseReset = 1;
constexpr int kHeight = 700;

GtkWidget *ChooserWindow(gint32 image) {
    GtkWidget *dialog = gtk_file_chooser_dialog_new(
        "Export through kowen", nullptr, GTK_FILE_CHOOSER_ACTION_SAVE, "_Defaults", kResponseReset,
        GTK_STOCK_CANCEL, GTK_RESPONSE_CANCEL, "_Export", GTK_RESPONSE_OK, nullptr);
    auto *chooser = GTK_FILE_CHOOSER(dialog);
    const OfferedFile file = FileToOffer(image);
    GtkFileFilter *jpegs = gtk_file_filter_new(), *all = gtk_file_filter_new();
    gtk_file_filter_set_name(jpegs, "JPEG pictures");
    gtk_file_filter_add_mime_type(jpegs, "image/jpeg");
    gtk_file_filter_add_pattern(jpegs, "*.kjpg");
    gtk_file_filter_set_name(all, "All files");
    gtk_file_filter_add_pattern(all, "*");
    gtk_file_chooser_add_filter(chooser, jpegs);
    gtk_file_chooser_add_filter(chooser, all);
    gtk_file_chooser_set_current_folder(chooser, file.folder.c_str());
    gchar *name = g_filename_display_name(file.name.c_str());
    gtk_file_chooser_set_current_name(chooser, name);
    g_free(name);
    return dialog;
}

GtkWidget *SettingsWindow() {
    return gimp_dialog_new("Export through kowen", kRole, nullptr, GTK_DIALOG_MODAL,
                           gimp_standard_help_func, kHelp, "_Defaults", kResponseReset,
                           GTK_STOCK_CANCEL, GTK_RESPONSE_CANCEL, "_Export", GTK_RESPONSE_OK,
                           nullptr);
}

class ExportWindow {
public:
    ExportWindow(KowenModule *filter, gint32 shown, const char *file)
        : module(filter), image(shown), given(file != nullptr ? file : ""),
          dialog(file != nullptr ? SettingsWindow() : ChooserWindow(shown)) {
        gtk_window_set_role(GTK_WINDOW(dialog), kRole);
        gtk_dialog_set_default_response(GTK_DIALOG(dialog), GTK_RESPONSE_OK);
        gtk_dialog_set_alternative_button_order(GTK_DIALOG(dialog), GTK_RESPONSE_OK, kResponseReset,
                                                GTK_RESPONSE_CANCEL, -1);
        gtk_window_set_resizable(GTK_WINDOW(dialog), file == nullptr);
        gimp_window_set_transient(GTK_WINDOW(dialog));
        preview.emplace(module, image, [this](const KowenResult &result) { ShowEstimate(result); });
        AddPanel();
    }

    ~ExportWindow() { gtk_widget_destroy(dialog); }
    ExportWindow(const ExportWindow &) = delete;
    ExportWindow &operator=(const ExportWindow &) = delete;

    // True when the user chose to export, false to cancel.
    bool Ask() {
        StartPreview();
        gtk_widget_show(dialog);
        if (given.empty()) // the list of files takes more by itself than small screens have
            gtk_window_resize(GTK_WINDOW(dialog), 1, kHeight);
        for (;;) {
            const gint response = gtk_dialog_run(GTK_DIALOG(dialog));
            if (response == kResponseReset)
                panel->Reset();
            else if (response != GTK_RESPONSE_OK)
                return false;
            else if (given.empty() ? TakeName() : true)
                return true;
        }
    }

    // The preview is over then: it would have the filter to itself, and the picture's memory.
    int32_t Save(KowenResult *result) {
        preview.reset();
        gtk_widget_hide(dialog);
        while (gtk_events_pending())
            gtk_main_iteration();
        gdk_flush();
        const int32_t code = SaveImage(module, image, panel->Current(), path, result);
        if (code == KOWEN_HOST_OK) {
            RememberChoices(panel->Current());
            RememberFile(image, path);
        }
        return code;
    }

    void ShowFailure(const KowenResult &result) {
        gtk_widget_show(dialog);
        Say(GTK_MESSAGE_ERROR, GTK_BUTTONS_CLOSE, "Not exported", "The picture was not exported.",
            result.message);
    }

private:
    void AddPanel() {
        const KowenPicture &picture = preview->Image().Picture();
        metadata = preview->Image().Metadata();
        PanelImage facts;
        facts.xDpi = picture.xDpi;
        facts.yDpi = picture.yDpi;
        facts.transparent =
            picture.format == KOWEN_PIXEL_RGBA || picture.format == KOWEN_PIXEL_GREY_ALPHA;
        facts.metadata = &metadata;
        panel.emplace(facts, RememberedChoices(), [this] {
            if (preview) // there is none while the picture is exported
                preview->Want(panel->Current());
        });
        if (given.empty()) {
            gtk_file_chooser_set_extra_widget(GTK_FILE_CHOOSER(dialog), panel->Widget());
            return;
        }
        gtk_container_set_border_width(GTK_CONTAINER(panel->Widget()), 12);
        Pack(gtk_dialog_get_content_area(GTK_DIALOG(dialog)), panel->Widget());
    }

    void StartPreview() {
        if (!preview)
            preview.emplace(module, image,
                            [this](const KowenResult &result) { ShowEstimate(result); });
        preview->Want(panel->Current());
        path = given;
    }

    void ShowEstimate(const KowenResult &result) {
        g_debug("kowen: estimate %d, %" G_GUINT64_FORMAT " bytes", result.code, result.bytes);
        panel->ShowEstimate(result);
    }

    // The chosen name, when there is one that may be written to.
    bool TakeName() {
        gchar *chosen = gtk_file_chooser_get_filename(GTK_FILE_CHOOSER(dialog));
        if (chosen == nullptr) {
            Say(GTK_MESSAGE_INFO, GTK_BUTTONS_CLOSE, "No name", "The file has no name yet.",
                "Type one, or choose a file in a folder of this computer.");
            return false;
        }
        path = WithJpegEnding(chosen);
        g_free(chosen);
        return !WouldReplace(path) || AskToReplace();
    }

    bool AskToReplace() {
        gchar *name = g_filename_display_basename(path.c_str());
        gchar *question = g_strdup_printf("There is a file '%s' already. Replace it?", name);
        const bool yes =
            Say(GTK_MESSAGE_QUESTION, GTK_BUTTONS_NONE, "Replace", question,
                "Until the new file is complete the old one stays as it is.") == GTK_RESPONSE_OK;
        g_free(question);
        g_free(name);
        return yes;
    }

    gint Say(GtkMessageType type, GtkButtonsType buttons, const char *title, const char *what,
             const char *more) {
        GtkWidget *box =
            gtk_message_dialog_new(GTK_WINDOW(dialog), GTK_DIALOG_MODAL, type, buttons, "%s", what);
        gtk_message_dialog_format_secondary_text(GTK_MESSAGE_DIALOG(box), "%s", more);
        gtk_window_set_title(GTK_WINDOW(box), title);
        if (buttons == GTK_BUTTONS_NONE)
            gtk_dialog_add_buttons(GTK_DIALOG(box), GTK_STOCK_CANCEL, GTK_RESPONSE_CANCEL,
                                   "_Replace", GTK_RESPONSE_OK, nullptr);
        const gint response = gtk_dialog_run(GTK_DIALOG(box));
        gtk_widget_destroy(box);
        return response;
    }

    KowenModule *module;
    gint32 image;
    std::string given, path;
    GtkWidget *dialog;
    ImageMetadata metadata;
    std::optional<SizePreview> preview;
    std::optional<SettingsPanel> panel;
};

} // namespace

Answer ExportFromWindow(gint32 image, const char *path, KowenResult *result) {
    const Module module(KowenOpenModule(nullptr, result));
    if (!module)
        return Answer::kFailed;
    gimp_ui_init("kowen", FALSE);
    ExportWindow window(module.get(), image, path);
    while (window.Ask()) {
        if (window.Save(result) == KOWEN_HOST_OK)
            return Answer::kSaved;
        window.ShowFailure(*result);
    }
    return Answer::kCancelled;
}

} // namespace kowen::gimp
