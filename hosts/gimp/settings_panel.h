// The settings, as widgets.
#pragma once

#include "choices.h"
#include "image_metadata.h"

#include <libgimp/gimpui.h>

#include <functional>
#include <string>
#include <vector>

namespace kowen::gimp {

/// What the panel needs to know of the image.
struct PanelImage {
    double xDpi = 0;
    double yDpi = 0;
    bool transparent = false;
    const ImageMetadata *metadata = nullptr; ///< outlives the panel
};

/// Shows choices and changes them as the user does. What the widgets show are the library's values:
/// those chosen, else the profile's, else the defaults.
class SettingsPanel {
public:
    /// `changed` is called after each change by the user.
    SettingsPanel(const PanelImage &image, const Choices &choices, std::function<void()> changed);
    SettingsPanel(const SettingsPanel &) = delete;
    SettingsPanel &operator=(const SettingsPanel &) = delete;

    /// To be packed into a window, which owns it then.
    GtkWidget *Widget() const { return widget; }

    const Choices &Current() const { return choices; }

    /// Back to the defaults.
    void Reset();

    /// Shows what the export would make: an estimate, or why there is none.
    void ShowEstimate(const KowenResult &result);

    /// Says that the estimate shown is not the one of the current choices.
    void ShowWorking();

private:
    GtkWidget *MakePictureFrame();
    GtkWidget *MakeMetadataFrame();
    GtkWidget *MakeProfileFrame();
    GtkWidget *MakeEstimateFrame();
    GtkWidget *MakeQualityTable();
    GtkWidget *MakeResolution();
    GtkWidget *MakeBackground();
    void AddCheck(GtkWidget *box, const char *label, const char *tip, const char *name,
                  const char *on, const char *off, bool useful);
    void ShowValues();
    void ShowProfile();
    void ListSections();
    void ShowResolution(const std::string &value);
    void ShowBackground(const std::string &value);
    void Choose(const std::string &name, const std::string &value);
    void ChooseProfile(const std::string &path, const std::string &name);
    void Tell();

    static void QualityMoved(GtkAdjustment *adjustment, gpointer self);
    static void CheckToggled(GtkToggleButton *button, gpointer self);
    static void OwnResolutionToggled(GtkToggleButton *button, gpointer self);
    static void ResolutionChanged(GtkSpinButton *button, gpointer self);
    static void BackgroundChanged(GimpColorButton *button, gpointer self);
    static void ProfileChosen(GtkFileChooserButton *button, gpointer self);
    static void ProfileCleared(GtkButton *button, gpointer self);
    static void SectionChosen(GtkComboBox *box, gpointer self);

    // A setting with two values, as a check button.
    struct Check {
        GtkWidget *button;
        const char *name, *on, *off;
        bool useful;
    };

    PanelImage image;
    Choices choices;
    std::function<void()> changed;
    bool showing = false; // values are being shown, not chosen

    GtkWidget *widget = nullptr;
    GtkObject *quality = nullptr;
    std::vector<Check> checks;
    GtkWidget *ownResolution = nullptr, *resolution = nullptr, *background = nullptr;
    GtkWidget *profile = nullptr, *noProfile = nullptr, *section = nullptr;
    GtkWidget *size = nullptr, *facts = nullptr, *notes = nullptr;
};

} // namespace kowen::gimp
