<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de_DE">
<context>
    <name>AddFromListsW</name>
    <message>
        <source>Add Mapping from Lists</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>&amp;Original key:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The key to remap</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Original key</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The key to remap; the arrow keys open the list, and typing a name finds it there</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>&amp;New key:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The key it should produce, or Disable key</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>New key</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The key it should produce, or Disable key; the arrow keys open the list, and typing a name finds it there</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Close without adding a mapping (Escape)</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Add this mapping and install it (Enter); both keys must be picked, and differ</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Add this mapping and install it; both keys must be picked, and differ</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Apply</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>KeyboardList</name>
    <message>
        <source>All keyboards</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Keyboard %1</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>KeyboardW</name>
    <message>
        <source>Remap a key</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Press a key on your keyboard while this window is open</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Key capture area: press a key</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Press the original key, then the key it should produce</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Original key</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>→</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>New key</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Press the key to remap (or pick it from the list below)</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Pick a key that your keyboard does not have, or Disable key</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Pick a key</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Close without adding a mapping</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Add this mapping and install it</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Apply</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>LoginItem</name>
    <message>
        <source>Error setting apply at login value</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>MainWindow</name>
    <message>
        <source>Keyvane</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>&lt;b&gt;Key mappings&lt;/b&gt;</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Each row makes the original key produce the new key</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Key mappings</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>No key is remapped yet.
Click + to choose a key and the key it should produce.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Add a mapping, or remove the selected one</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Add or remove a mapping</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Apply &amp;to:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The keyboard whose keys are remapped</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Install the mappings whenever you log in, without opening this window</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Apply mappings at &amp;login</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Remove every mapping from the system and quit; your list is kept for next time</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>&amp;Quit and restore keys</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>&amp;File</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>&amp;Edit</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>&amp;Import Mappings…</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Add the mappings of a file to your list, or replace your list with them</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Ctrl+I</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>&amp;Export Mappings…</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Save your mappings and the chosen keyboard in a file</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Ctrl+E</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Make &amp;Permanent…</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Write your list to udev&apos;s hwdb, so that it holds at the login screen, on the console and for every user</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Remove Permanent &amp;Keymap</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Give the login screen, the console and every user the keyboards&apos; own keys again</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>&amp;Close Window</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Close this window; Keyvane keeps your mappings installed in the background</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Ctrl+W</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>&amp;Quit</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Quit Keyvane and leave your mappings installed (the Quit and restore keys button removes them)</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Ctrl+Q</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>&amp;Undo</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Take back the last change to your list or to Apply to, and install the list as it was</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Ctrl+Z</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Re&amp;do</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Make the change you took back again, and install the list</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Ctrl+Shift+Z</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>&amp;Add Mapping…</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Choose a key and the key it should produce</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Ctrl+N</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Add Mapping from &amp;Lists…</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Pick both keys from lists, with the keyboard alone</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Ctrl+Shift+N</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>&amp;Remove Mapping</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Remove the selected mapping</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Del</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>MappingApplier</name>
    <message>
        <source>Error applying mapping</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>OriginalId or remappedId was blank, please remove all mappings and re-add them.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Too many mappings to install</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Your list has %1 mappings, but one installation can carry at most %2. Remove %3; until then the keys stay as they were installed before.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Unable to apply keyboard mappings</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Unable to apply keyboard mappings. Most often this is because you are trying to apply mappings to an external USB keyboard which is no longer connected. Try applying the mappings to all keyboards instead.</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>MappingFile</name>
    <message>
        <source>%1 mapping</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 mappings</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>your list would then have %1 mappings, but one installation can carry at most %2</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>MappingFileDialogs</name>
    <message>
        <source>The mappings could not be exported</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>This file cannot be imported</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Your list is unchanged.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>These mappings cannot be used and are left out:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Already in your list, so not added again: %1.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Add the %1 after the %2 you have, or replace your list with it?</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Add the %1 after the %2 you have, or replace your list with them?</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Add the %1 after the %2 you have, or replace your list and the chosen keyboard with it?</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Add the %1 after the %2 you have, or replace your list and the chosen keyboard with them?</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Import %1?</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Add to My List</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Replace My List</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Keyvane mappings (*.json);;All files (*)</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>MappingStatus</name>
    <message>
        <source>Cannot be installed</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Overridden on %1, even after installing again</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Overridden on %1, installed again</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Installed on %1 of %2 keyboards</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Installed on 1 keyboard</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Installed on %1 keyboards</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Permanent</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>No keyboard has this key</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Not installed</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Replaced by row %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Keyvane has no access to your keyboards (%1: %2), so it cannot install your mappings. Add yourself to the group input (sudo usermod -aG input $USER), then log out and in again.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Keyvane cannot open %1 (%2), which may be a keyboard, so it cannot install your mappings. Unplug that device and plug it in again, or restart.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>No keyboard is connected, so no mapping is installed. Plug one in: Keyvane installs your mappings on it at once.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The keyboard chosen in Apply to (product id %1) is not connected, so no mapping is installed. Plug it in, or choose All keyboards.</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>PermanentKeymap</name>
    <message>
        <source>Nothing to make permanent</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Your list has no mappings. To remove a permanent keymap, choose File &gt; Remove Permanent Keymap (or run keyvane --remove-permanent).</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The permanent keymap needs Keyvane installed</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The helper that writes the permanent keymap, %1, is not there, as when Keyvane runs from its build folder. Install Keyvane (its Debian package, or cmake --install) and try again. Nothing was changed.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Make your keys permanent?</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Your list of %1, for %2, is written to udev&apos;s hwdb and applies before anyone logs in: at the login screen, on the text console and for every user of this computer.
File: %3</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>all keyboards</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>the keyboard %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>A keyboard first plugged in later is not covered until you make the list permanent again.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Careful: your list moves or disables keys you may type your password with: %1. The login screen and the text console will see those keys changed too, and so will the disk-encryption prompt where the initramfs carries udev&apos;s hwdb (Debian 12&apos;s does not).</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Once the keys have changed, you have %1 seconds to keep them; otherwise they change back.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Make Permanent</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Remove the permanent keymap?</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The login screen, the console and every user get the keyboards&apos; own keys again. Your list stays, and Keyvane installs it for you as before.
File to remove: %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Remove</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Keep these keys?</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The keys change back in %1 seconds unless you keep them.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Keep</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Change Back</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Keep these keys? Press Enter within %1 seconds to keep them; otherwise they change back.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Your keys are permanent</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Your list applies from the login screen on, for every user.
File: %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The keys changed back</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The previous permanent keymap is back.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>No permanent keymap is in place, as before.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The permanent keymap is removed</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Before anyone logs in, the keyboards have their own keys again.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Your keys could not be made permanent</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The permanent keymap could not be removed</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The helper ended with status %1.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Nothing was changed</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The password was not given, so the helper did not run.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>You are not allowed to change the permanent keymap: it takes an administrator&apos;s password.</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>QObject</name>
    <message>
        <source>Pick a key…</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Export Mappings</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Import Mappings</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>SettingsAlerts</name>
    <message>
        <source>Your settings could not be read</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Keyvane could not read %1 (%2), so it started without your mappings and settings. The unreadable file was kept as %3.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Keyvane could not read %1 (%2), so it started without your mappings and settings. The file could not be moved aside either, so nothing will be saved until you move it away.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Keyvane could not read %1 (%2), so it started without your mappings and settings. It left that as it is and will not save over it while it runs, so what you change now lasts until Keyvane ends. Make sure it is a file you can read, then start Keyvane again.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Your settings could not be saved</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Keyvane could not save your settings to %1 (%2). Your change is in effect now but will be gone the next time Keyvane starts. Make sure the folder can be written, then make the change again.</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>StatusColumn</name>
    <message>
        <source>%1: installed</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1: permanent (udev&apos;s hwdb)</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1: changed by another program, installed again</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1: changed by another program, also after installing again</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1: has no such key</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1: a key of this mapping is unknown</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Row %1 maps the same key: a key gives one code, and the last mapping of it wins</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>No keyboard has this mapping installed</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>UpdateCheck</name>
    <message>
        <source>App update required</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>This version is significantly outdated and will no longer work. Please relaunch the app after downloading the latest version.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Visit download page</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>App update available</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Currently installed: </source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>
Latest version:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>

It is recommended that you update the app for stability and performance.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Download now</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Don&apos;t show again for this version</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>keyvane::InstallationSummary</name>
    <message>
        <source>Closing this window keeps your mappings installed.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>None of your mappings is installed.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Install Now</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>keyvane::KeyboardVC</name>
    <message>
        <source>Original key: %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>, new key: %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Remap a key</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Press the new key to remap the original key into (or pick from the below list)</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>keyvane::MainVC</name>
    <message>
        <source>Original key</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>New key</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Status</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>No room for another mapping</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>One installation can carry at most %1 mappings, and your list has %2. Remove %3 before you add another.</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>keyvane::PermanentKeymapDialogs</name>
    <message>
        <source>OK</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>keyvane::SegmentedControl</name>
    <message>
        <source>Add a mapping (Ctrl+N)</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Remove the selected mapping (Delete)</source>
        <translation type="unfinished"></translation>
    </message>
</context>
</TS>
