<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de_DE">
<context>
    <name>AddFromListsW</name>
    <message>
        <source>Add Mapping from Lists</source>
        <translation>Aus Listen hinzufügen</translation>
    </message>
    <message>
        <source>&amp;Original key:</source>
        <translation>&amp;Originaltaste:</translation>
    </message>
    <message>
        <source>The key to remap</source>
        <translation>Die Taste, die umbelegt wird</translation>
    </message>
    <message>
        <source>Original key</source>
        <translation>Originaltaste</translation>
    </message>
    <message>
        <source>The key to remap; the arrow keys open the list, and typing a name finds it there</source>
        <translation>Die Taste, die umbelegt wird; die Pfeiltasten öffnen die Liste, und wer einen Namen tippt, findet ihn dort</translation>
    </message>
    <message>
        <source>&amp;New key:</source>
        <translation>&amp;Neue Taste:</translation>
    </message>
    <message>
        <source>The key it should produce, or Disable key</source>
        <translation>Die Taste, die sie erzeugen soll, oder „Disable key“ (Taste abschalten)</translation>
    </message>
    <message>
        <source>New key</source>
        <translation>Neue Taste</translation>
    </message>
    <message>
        <source>The key it should produce, or Disable key; the arrow keys open the list, and typing a name finds it there</source>
        <translation>Die Taste, die sie erzeugen soll, oder „Disable key“ (Taste abschalten); die Pfeiltasten öffnen die Liste, und wer einen Namen tippt, findet ihn dort</translation>
    </message>
    <message>
        <source>Close without adding a mapping (Escape)</source>
        <translation>Schließen, ohne eine Zuordnung hinzuzufügen (Esc)</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
    <message>
        <source>Add this mapping and install it (Enter); both keys must be picked, and differ</source>
        <translation>Diese Zuordnung hinzufügen und installieren (Eingabe); beide Tasten müssen gewählt sein und sich unterscheiden</translation>
    </message>
    <message>
        <source>Add this mapping and install it; both keys must be picked, and differ</source>
        <translation>Diese Zuordnung hinzufügen und installieren; beide Tasten müssen gewählt sein und sich unterscheiden</translation>
    </message>
    <message>
        <source>Apply</source>
        <translation>Übernehmen</translation>
    </message>
</context>
<context>
    <name>CommandLine</name>
    <message>
        <source>keyvane: hidutil did not confirm that the mappings were removed</source>
        <translation>keyvane: hidutil hat nicht bestätigt, dass die Zuordnungen entfernt wurden</translation>
    </message>
    <message>
        <source>keyvane: nothing was imported, so that no mapping goes missing unnoticed. Correct the mappings above, or import the file in the Keyvane window, which can leave them out. Your list is unchanged.</source>
        <translation>keyvane: Nichts wurde importiert, damit keine Zuordnung unbemerkt fehlt. Berichtigen Sie die Zuordnungen oben, oder importieren Sie die Datei im Fenster von Keyvane, das sie auslassen kann. Ihre Liste ist unverändert.</translation>
    </message>
    <message>
        <source>all keyboards</source>
        <translation>alle Tastaturen</translation>
    </message>
    <message>
        <source>the keyboard %1</source>
        <translation>die Tastatur %1</translation>
    </message>
    <message>
        <source>No mappings are stored; every key Keyvane changed is as it was.</source>
        <translation>Keine Zuordnungen gespeichert; jede Taste, die Keyvane geändert hatte, ist wieder wie zuvor.</translation>
    </message>
    <message>
        <source>Every key Keyvane changed is as it was.</source>
        <translation>Jede Taste, die Keyvane geändert hatte, ist wieder wie zuvor.</translation>
    </message>
    <message>
        <source>Keyboard: %1</source>
        <translation>Tastatur: %1</translation>
    </message>
    <message>
        <source>cannot export to %1: %2</source>
        <translation>Export nach %1 nicht möglich: %2</translation>
    </message>
    <message>
        <source>Exported %1 for %2 to %3.</source>
        <translation>%1 für %2 nach %3 exportiert.</translation>
    </message>
    <message>
        <source>cannot import %1: %2. Your list is unchanged.</source>
        <translation>%1 kann nicht importiert werden: %2. Ihre Liste ist unverändert.</translation>
    </message>
    <message>
        <source>Imported %1 from %2</source>
        <translation>%1 aus %2 importiert</translation>
    </message>
    <message>
        <source>, after the ones you had</source>
        <translation>, nach den vorhandenen</translation>
    </message>
    <message>
        <source>, leaving out %1 your list had already</source>
        <translation>, ohne %1, die Ihre Liste schon hatte</translation>
    </message>
    <message>
        <source>; the list now has %1.</source>
        <translation>; die Liste hat jetzt %1.</translation>
    </message>
    <message>
        <source>Keyvane runs for this user, but not on this session&apos;s message bus, so it cannot be asked to import; its list would overwrite the import. Run the command in its desktop session, or end Keyvane first.</source>
        <translation>Keyvane läuft für diesen Benutzer, aber nicht am Nachrichtenbus dieser Sitzung, und kann daher nicht um den Import gebeten werden; seine Liste würde den Import überschreiben. Führen Sie den Befehl in seiner Desktop-Sitzung aus, oder beenden Sie Keyvane zuerst.</translation>
    </message>
    <message>
        <source>Keyvane runs but did not answer, so the command may not have been carried out: </source>
        <translation>Keyvane läuft, hat aber nicht geantwortet; der Befehl wurde daher vielleicht nicht ausgeführt: </translation>
    </message>
    <message>
        <source>Usage: keyvane [OPTION]
Without an option, Keyvane opens its window (or shows the one of the running copy).

  --apply            install the stored mappings for the chosen keyboard
  --restore          remove every mapping from the system (a running Keyvane ends,
                     so that it does not install them again; your list is kept)
  --list             print the chosen keyboard and the mappings, one a line
  --status           print what each keyboard has installed (hidutil status)
  --export FILE      write the mappings and the chosen keyboard to FILE (JSON)
  --import FILE      replace the mappings (and the chosen keyboard) with those in FILE,
                     then install them
  --import FILE --append
                     add the mappings in FILE after yours, then install them all
  --make-permanent   write the stored mappings for the chosen keyboard to udev&apos;s hwdb
                     (as root, through pkexec), so that they hold at the login screen,
                     on the console and for every user; press Enter within 20 seconds
                     to keep the new keys, or they change back
  --remove-permanent remove that permanent keymap
  -h, --help         print this help
  -v, --version      print Keyvane&apos;s version

When Keyvane runs, the command is carried out by it, except the permanent ones, which
always run here. Exit status: 0 when it worked, 1 when it did not (or the keys changed
back), 2 for options that are not understood.
</source>
        <translation>Aufruf: keyvane [OPTION]
Ohne Option öffnet Keyvane sein Fenster (oder zeigt das der laufenden Kopie).

  --apply            die gespeicherten Zuordnungen für die gewählte Tastatur
                     installieren
  --restore          alle Zuordnungen aus dem System entfernen (ein laufendes Keyvane
                     endet, damit es sie nicht wieder installiert; Ihre Liste bleibt)
  --list             die gewählte Tastatur und die Zuordnungen ausgeben,
                     eine je Zeile
  --status           ausgeben, was jede Tastatur installiert hat (hidutil status)
  --export DATEI     die Zuordnungen und die gewählte Tastatur in DATEI
                     schreiben (JSON)
  --import DATEI     die Zuordnungen (und die gewählte Tastatur) durch die aus DATEI
                     ersetzen und dann installieren
  --import DATEI --append
                     die Zuordnungen aus DATEI nach Ihren anfügen, dann alle
                     installieren
  --make-permanent   die gespeicherten Zuordnungen für die gewählte Tastatur in die hwdb
                     von udev schreiben (als root, über pkexec), damit sie auf dem
                     Anmeldebildschirm, auf der Konsole und für alle Benutzer gelten;
                     drücken Sie binnen 20 Sekunden die Eingabetaste, um die neuen
                     Tasten zu behalten, sonst werden sie zurückgeändert
  --remove-permanent diese dauerhafte Tastenbelegung entfernen
  -h, --help         diese Hilfe ausgeben
  -v, --version      die Version von Keyvane ausgeben

Wenn Keyvane läuft, führt es den Befehl aus, außer den dauerhaften, die immer hier
laufen. Rückgabewert: 0, wenn es geklappt hat, 1, wenn nicht (oder die Tasten
zurückgeändert wurden), 2 bei nicht verstandenen Optionen.
</translation>
    </message>
</context>
<context>
    <name>CommandService</name>
    <message>
        <source>keyvane: Keyvane is waiting for a key press in its &quot;Remap a key&quot; window, where your keys must arrive unmapped; finish or cancel there first.
</source>
        <translation>keyvane: Keyvane wartet in seinem Fenster „Eine Taste umbelegen“ auf einen Tastendruck, und dort müssen Ihre Tasten unverändert ankommen; schließen Sie dort zuerst ab oder brechen Sie ab.
</translation>
    </message>
    <message>
        <source>keyvane: Keyvane is still starting; try again.
</source>
        <translation>keyvane: Keyvane startet noch; versuchen Sie es erneut.
</translation>
    </message>
    <message>
        <source>The running Keyvane ended, so that it does not install them again; your list is kept for its next start.
</source>
        <translation>Das laufende Keyvane wurde beendet, damit es sie nicht wieder installiert; Ihre Liste bleibt für seinen nächsten Start erhalten.
</translation>
    </message>
</context>
<context>
    <name>KeyboardList</name>
    <message>
        <source>All keyboards</source>
        <translation>Alle Tastaturen</translation>
    </message>
    <message>
        <source>Keyboard %1</source>
        <translation>Tastatur %1</translation>
    </message>
    <message>
        <source>No such keyboard is connected</source>
        <translation>Keine solche Tastatur ist angeschlossen</translation>
    </message>
</context>
<context>
    <name>KeyboardW</name>
    <message>
        <source>Remap a key</source>
        <translation>Eine Taste umbelegen</translation>
    </message>
    <message>
        <source>Press a key on your keyboard while this window is open</source>
        <translation>Drücken Sie eine Taste, solange dieses Fenster offen ist</translation>
    </message>
    <message>
        <source>Key capture area: press a key</source>
        <translation>Tastenerfassung: Drücken Sie eine Taste</translation>
    </message>
    <message>
        <source>Press the original key, then the key it should produce</source>
        <translation>Drücken Sie die Originaltaste, dann die Taste, die sie erzeugen soll</translation>
    </message>
    <message>
        <source>Original key</source>
        <translation>Originaltaste</translation>
    </message>
    <message>
        <source>→</source>
        <translation>→</translation>
    </message>
    <message>
        <source>New key</source>
        <translation>Neue Taste</translation>
    </message>
    <message>
        <source>Press the key to remap (or pick it from the list below)</source>
        <translation>Drücken Sie die Taste, die umbelegt werden soll (oder wählen Sie sie aus der Liste unten)</translation>
    </message>
    <message>
        <source>Pick a key that your keyboard does not have, or Disable key</source>
        <translation>Wählen Sie eine Taste, die Ihre Tastatur nicht hat, oder „Disable key“ (Taste abschalten)</translation>
    </message>
    <message>
        <source>Pick a key</source>
        <translation>Taste wählen</translation>
    </message>
    <message>
        <source>Close without adding a mapping</source>
        <translation>Schließen, ohne eine Zuordnung hinzuzufügen</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
    <message>
        <source>Add this mapping and install it</source>
        <translation>Diese Zuordnung hinzufügen und installieren</translation>
    </message>
    <message>
        <source>Apply</source>
        <translation>Übernehmen</translation>
    </message>
</context>
<context>
    <name>Launch</name>
    <message>
        <source>Keyvane already runs but does not answer: </source>
        <translation>Keyvane läuft bereits, antwortet aber nicht: </translation>
    </message>
    <message>
        <source>Keyvane already runs for this user, outside this session&apos;s message bus, so it cannot be asked to show its window from here; this start ends. Use the window of the running copy, or end it first.</source>
        <translation>Keyvane läuft für diesen Benutzer bereits außerhalb des Nachrichtenbusses dieser Sitzung und kann daher von hier aus nicht gebeten werden, sein Fenster zu zeigen; dieser Start endet. Nutzen Sie das Fenster der laufenden Kopie, oder beenden Sie sie zuerst.</translation>
    </message>
    <message>
        <source>no session bus; starting as a normal launch (a second start cannot ask this one to show its window, and the login helper cannot be told to quit)</source>
        <translation>kein Sitzungsbus; normaler Start (ein zweiter Start kann diesen nicht bitten, sein Fenster zu zeigen, und dem Anmeldehelfer kann nicht gesagt werden, dass er enden soll)</translation>
    </message>
</context>
<context>
    <name>LoginItem</name>
    <message>
        <source>Error setting apply at login value</source>
        <translation>Fehler beim Festlegen, ob die Zuordnungen bei der Anmeldung angewendet werden</translation>
    </message>
</context>
<context>
    <name>MainWindow</name>
    <message>
        <source>Keyvane</source>
        <translation>Keyvane</translation>
    </message>
    <message>
        <source>&lt;b&gt;Key mappings&lt;/b&gt;</source>
        <translation>&lt;b&gt;Tastenzuordnungen&lt;/b&gt;</translation>
    </message>
    <message>
        <source>Each row makes the original key produce the new key</source>
        <translation>Jede Zeile lässt die Originaltaste die neue Taste erzeugen</translation>
    </message>
    <message>
        <source>Key mappings</source>
        <translation>Tastenzuordnungen</translation>
    </message>
    <message>
        <source>No key is remapped yet.
Click + to choose a key and the key it should produce.</source>
        <translation>Noch ist keine Taste umbelegt.
Klicken Sie auf +, um eine Taste und die Taste zu wählen, die sie erzeugen soll.</translation>
    </message>
    <message>
        <source>Add a mapping, or remove the selected one</source>
        <translation>Eine Zuordnung hinzufügen oder die ausgewählte entfernen</translation>
    </message>
    <message>
        <source>Add or remove a mapping</source>
        <translation>Zuordnung hinzufügen oder entfernen</translation>
    </message>
    <message>
        <source>Apply &amp;to:</source>
        <translation>Anwenden &amp;auf:</translation>
    </message>
    <message>
        <source>The keyboard whose keys are remapped</source>
        <translation>Die Tastatur, deren Tasten umbelegt werden</translation>
    </message>
    <message>
        <source>Install the mappings whenever you log in, without opening this window</source>
        <translation>Die Zuordnungen bei jeder Anmeldung installieren, ohne dieses Fenster zu öffnen</translation>
    </message>
    <message>
        <source>Apply mappings at &amp;login</source>
        <translation>Zuordnungen bei der An&amp;meldung anwenden</translation>
    </message>
    <message>
        <source>Remove every mapping from the system and quit; your list is kept for next time</source>
        <translation>Alle Zuordnungen aus dem System entfernen und beenden; Ihre Liste bleibt für das nächste Mal erhalten</translation>
    </message>
    <message>
        <source>&amp;Quit and restore keys</source>
        <translation>Beenden und &amp;zurücksetzen</translation>
    </message>
    <message>
        <source>&amp;File</source>
        <translation>&amp;Datei</translation>
    </message>
    <message>
        <source>&amp;Edit</source>
        <translation>&amp;Bearbeiten</translation>
    </message>
    <message>
        <source>&amp;Import Mappings…</source>
        <translation>Zuordnungen &amp;importieren …</translation>
    </message>
    <message>
        <source>Add the mappings of a file to your list, or replace your list with them</source>
        <translation>Die Zuordnungen einer Datei zu Ihrer Liste hinzufügen oder Ihre Liste durch sie ersetzen</translation>
    </message>
    <message>
        <source>Ctrl+I</source>
        <translation>Ctrl+I</translation>
    </message>
    <message>
        <source>&amp;Export Mappings…</source>
        <translation>Zuordnungen &amp;exportieren …</translation>
    </message>
    <message>
        <source>Save your mappings and the chosen keyboard in a file</source>
        <translation>Ihre Zuordnungen und die gewählte Tastatur in einer Datei speichern</translation>
    </message>
    <message>
        <source>Ctrl+E</source>
        <translation>Ctrl+E</translation>
    </message>
    <message>
        <source>Make &amp;Permanent…</source>
        <translation>&amp;Dauerhaft machen …</translation>
    </message>
    <message>
        <source>Write your list to udev&apos;s hwdb, so that it holds at the login screen, on the console and for every user</source>
        <translation>Ihre Liste in die hwdb von udev schreiben, damit sie auf dem Anmeldebildschirm, auf der Konsole und für alle Benutzer gilt</translation>
    </message>
    <message>
        <source>Remove Permanent &amp;Keymap</source>
        <translation>Dauerhafte &amp;Tastenbelegung entfernen</translation>
    </message>
    <message>
        <source>Give the login screen, the console and every user the keyboards&apos; own keys again</source>
        <translation>Dem Anmeldebildschirm, der Konsole und allen Benutzern wieder die eigenen Tasten der Tastaturen geben</translation>
    </message>
    <message>
        <source>&amp;Close Window</source>
        <translation>Fenster &amp;schließen</translation>
    </message>
    <message>
        <source>Close this window; Keyvane keeps your mappings installed in the background</source>
        <translation>Dieses Fenster schließen; Keyvane hält Ihre Zuordnungen im Hintergrund installiert</translation>
    </message>
    <message>
        <source>Ctrl+W</source>
        <translation>Ctrl+W</translation>
    </message>
    <message>
        <source>&amp;Quit</source>
        <translation>&amp;Beenden</translation>
    </message>
    <message>
        <source>Quit Keyvane and leave your mappings installed (the Quit and restore keys button removes them)</source>
        <translation>Keyvane beenden und Ihre Zuordnungen installiert lassen (der Knopf „Beenden und zurücksetzen“ entfernt sie)</translation>
    </message>
    <message>
        <source>Ctrl+Q</source>
        <translation>Ctrl+Q</translation>
    </message>
    <message>
        <source>&amp;Undo</source>
        <translation>&amp;Rückgängig</translation>
    </message>
    <message>
        <source>Take back the last change to your list or to Apply to, and install the list as it was</source>
        <translation>Die letzte Änderung an Ihrer Liste oder an „Anwenden auf“ zurücknehmen und die Liste installieren, wie sie war</translation>
    </message>
    <message>
        <source>Ctrl+Z</source>
        <translation>Ctrl+Z</translation>
    </message>
    <message>
        <source>Re&amp;do</source>
        <translation>&amp;Wiederholen</translation>
    </message>
    <message>
        <source>Make the change you took back again, and install the list</source>
        <translation>Die zurückgenommene Änderung wieder vornehmen und die Liste installieren</translation>
    </message>
    <message>
        <source>Ctrl+Shift+Z</source>
        <translation>Ctrl+Shift+Z</translation>
    </message>
    <message>
        <source>&amp;Add Mapping…</source>
        <translation>Zuordnung &amp;hinzufügen …</translation>
    </message>
    <message>
        <source>Choose a key and the key it should produce</source>
        <translation>Eine Taste und die Taste wählen, die sie erzeugen soll</translation>
    </message>
    <message>
        <source>Ctrl+N</source>
        <translation>Ctrl+N</translation>
    </message>
    <message>
        <source>Add Mapping from &amp;Lists…</source>
        <translation>Zuordnung aus &amp;Listen hinzufügen …</translation>
    </message>
    <message>
        <source>Pick both keys from lists, with the keyboard alone</source>
        <translation>Beide Tasten aus Listen wählen, allein mit der Tastatur</translation>
    </message>
    <message>
        <source>Ctrl+Shift+N</source>
        <translation>Ctrl+Shift+N</translation>
    </message>
    <message>
        <source>&amp;Remove Mapping</source>
        <translation>Zuordnung ent&amp;fernen</translation>
    </message>
    <message>
        <source>Remove the selected mapping</source>
        <translation>Die ausgewählte Zuordnung entfernen</translation>
    </message>
    <message>
        <source>Del</source>
        <translation>Del</translation>
    </message>
</context>
<context>
    <name>MappingApplier</name>
    <message>
        <source>Error applying mapping</source>
        <translation>Fehler beim Anwenden der Zuordnung</translation>
    </message>
    <message>
        <source>OriginalId or remappedId was blank, please remove all mappings and re-add them.</source>
        <translation>originalId oder remappedId war leer. Bitte entfernen Sie alle Zuordnungen und fügen Sie sie neu hinzu.</translation>
    </message>
    <message>
        <source>Too many mappings to install</source>
        <translation>Zu viele Zuordnungen zum Installieren</translation>
    </message>
    <message>
        <source>Your list has %1 mappings, but one installation can carry at most %2. Remove %3; until then the keys stay as they were installed before.</source>
        <translation>Ihre Liste hat %1 Zuordnungen, aber eine Installation kann höchstens %2 aufnehmen. Entfernen Sie %3; bis dahin bleiben die Tasten, wie sie zuvor installiert waren.</translation>
    </message>
    <message>
        <source>Unable to apply keyboard mappings</source>
        <translation>Die Tastenzuordnungen können nicht angewendet werden</translation>
    </message>
    <message>
        <source>Unable to apply keyboard mappings. Most often this is because you are trying to apply mappings to an external USB keyboard which is no longer connected. Try applying the mappings to all keyboards instead.</source>
        <translation>Die Tastenzuordnungen können nicht angewendet werden. Meist liegt das daran, dass Sie Zuordnungen auf eine externe USB-Tastatur anwenden wollen, die nicht mehr angeschlossen ist. Wenden Sie die Zuordnungen stattdessen auf alle Tastaturen an.</translation>
    </message>
</context>
<context>
    <name>MappingFile</name>
    <message>
        <source>%1 mapping</source>
        <translation>%1 Zuordnung</translation>
    </message>
    <message>
        <source>%1 mappings</source>
        <translation>%1 Zuordnungen</translation>
    </message>
    <message>
        <source>your list would then have %1 mappings, but one installation can carry at most %2</source>
        <translation>Ihre Liste hätte dann %1 Zuordnungen, aber eine Installation kann höchstens %2 aufnehmen</translation>
    </message>
    <message>
        <source>it has no &quot;%1Id&quot;</source>
        <translation>ihr fehlt „%1Id“</translation>
    </message>
    <message>
        <source>&quot;%1&quot; is not a key Keyvane knows (&quot;%2Id&quot;: &quot;%3&quot;)</source>
        <translation>„%1“ ist keine Taste, die Keyvane kennt („%2Id“: „%3“)</translation>
    </message>
    <message>
        <source>the key table has no key with id &quot;%1&quot; (&quot;%2Id&quot;)</source>
        <translation>die Tastentabelle hat keine Taste mit der ID „%1“ („%2Id“)</translation>
    </message>
    <message>
        <source>&quot;%1&quot; cannot be an original key</source>
        <translation>„%1“ kann keine Originaltaste sein</translation>
    </message>
    <message>
        <source>&quot;%1&quot; is not the name of key id &quot;%2&quot; (%3)</source>
        <translation>„%1“ ist nicht der Name der Taste mit der ID „%2“ (%3)</translation>
    </message>
    <message>
        <source>it is not an object of texts</source>
        <translation>sie ist kein Objekt aus Texten</translation>
    </message>
    <message>
        <source>it maps %1 to itself</source>
        <translation>sie ordnet %1 sich selbst zu</translation>
    </message>
    <message>
        <source>it is not a Keyvane mappings file (it has no &quot;%1&quot;: &quot;%2&quot;)</source>
        <translation>sie ist keine Zuordnungsdatei von Keyvane (ihr fehlt „%1“: „%2“)</translation>
    </message>
    <message>
        <source>it is in a format version this Keyvane does not know (it reads version %1)</source>
        <translation>sie hat eine Formatversion, die dieses Keyvane nicht kennt (es liest Version %1)</translation>
    </message>
    <message>
        <source>its &quot;%1&quot; is neither a keyboard&apos;s product id (such as 0x27e) nor %2 (all keyboards)</source>
        <translation>ihr „%1“ ist weder die Produkt-ID einer Tastatur (etwa 0x27e) noch %2 (alle Tastaturen)</translation>
    </message>
    <message>
        <source>its &quot;%1&quot; is missing or not a list</source>
        <translation>ihr „%1“ fehlt oder ist keine Liste</translation>
    </message>
    <message>
        <source>it cannot be read (%1)</source>
        <translation>sie kann nicht gelesen werden (%1)</translation>
    </message>
    <message>
        <source>it is not a file that can be read</source>
        <translation>sie ist keine Datei, die gelesen werden kann</translation>
    </message>
    <message>
        <source>it is %1 bytes long, far more than a list of mappings (at most %2 bytes)</source>
        <translation>sie ist %1 Bytes lang, weit mehr als eine Liste von Zuordnungen (höchstens %2 Bytes)</translation>
    </message>
    <message>
        <source>it cannot be read</source>
        <translation>sie kann nicht gelesen werden</translation>
    </message>
    <message>
        <source>it is larger than a list of mappings can be</source>
        <translation>sie ist größer, als eine Liste von Zuordnungen sein kann</translation>
    </message>
    <message>
        <source>it is not JSON (%1)</source>
        <translation>sie ist kein JSON (%1)</translation>
    </message>
    <message>
        <source>it is not a Keyvane mappings file (it holds no JSON object)</source>
        <translation>sie ist keine Zuordnungsdatei von Keyvane (sie enthält kein JSON-Objekt)</translation>
    </message>
    <message>
        <source>mapping %1: %2</source>
        <translation>Zuordnung %1: %2</translation>
    </message>
    <message>
        <source>it holds no mappings</source>
        <translation>sie enthält keine Zuordnungen</translation>
    </message>
    <message>
        <source>none of its %1 mappings can be used</source>
        <translation>keine ihrer %1 Zuordnungen ist verwendbar</translation>
    </message>
    <message>
        <source>there is no folder %1</source>
        <translation>es gibt keinen Ordner %1</translation>
    </message>
</context>
<context>
    <name>MappingFileDialogs</name>
    <message>
        <source>The mappings could not be exported</source>
        <translation>Die Zuordnungen konnten nicht exportiert werden</translation>
    </message>
    <message>
        <source>This file cannot be imported</source>
        <translation>Diese Datei kann nicht importiert werden</translation>
    </message>
    <message>
        <source>Your list is unchanged.</source>
        <translation>Ihre Liste ist unverändert.</translation>
    </message>
    <message>
        <source>These mappings cannot be used and are left out:</source>
        <translation>Diese Zuordnungen sind nicht verwendbar und werden ausgelassen:</translation>
    </message>
    <message>
        <source>Already in your list, so not added again: %1.</source>
        <translation>Schon in Ihrer Liste und daher nicht noch einmal hinzugefügt: %1.</translation>
    </message>
    <message>
        <source>Add the %1 after the %2 you have, or replace your list with it?</source>
        <translation>Die %1 nach Ihren %2 anfügen oder Ihre Liste durch sie ersetzen?</translation>
    </message>
    <message>
        <source>Add the %1 after the %2 you have, or replace your list with them?</source>
        <translation>Die %1 nach Ihren %2 anfügen oder Ihre Liste durch sie ersetzen?</translation>
    </message>
    <message>
        <source>Add the %1 after the %2 you have, or replace your list and the chosen keyboard with it?</source>
        <translation>Die %1 nach Ihren %2 anfügen oder Ihre Liste und die gewählte Tastatur durch sie ersetzen?</translation>
    </message>
    <message>
        <source>Add the %1 after the %2 you have, or replace your list and the chosen keyboard with them?</source>
        <translation>Die %1 nach Ihren %2 anfügen oder Ihre Liste und die gewählte Tastatur durch sie ersetzen?</translation>
    </message>
    <message>
        <source>Import %1?</source>
        <translation>%1 importieren?</translation>
    </message>
    <message>
        <source>Add to My List</source>
        <translation>Zu meiner Liste hinzufügen</translation>
    </message>
    <message>
        <source>Replace My List</source>
        <translation>Meine Liste ersetzen</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
    <message>
        <source>Keyvane mappings (*.json);;All files (*)</source>
        <translation>Keyvane-Zuordnungen (*.json);;Alle Dateien (*)</translation>
    </message>
</context>
<context>
    <name>MappingStatus</name>
    <message>
        <source>Cannot be installed</source>
        <translation>Nicht installierbar</translation>
    </message>
    <message>
        <source>Overridden on %1, even after installing again</source>
        <translation>Überschrieben auf %1, auch nach erneutem Installieren</translation>
    </message>
    <message>
        <source>Overridden on %1, installed again</source>
        <translation>Überschrieben auf %1, erneut installiert</translation>
    </message>
    <message>
        <source>Installed on %1 of %2 keyboards</source>
        <translation>Installiert auf %1 von %2 Tastaturen</translation>
    </message>
    <message>
        <source>Installed on 1 keyboard</source>
        <translation>Installiert auf 1 Tastatur</translation>
    </message>
    <message>
        <source>Installed on %1 keyboards</source>
        <translation>Installiert auf %1 Tastaturen</translation>
    </message>
    <message>
        <source>Permanent</source>
        <translation>Dauerhaft</translation>
    </message>
    <message>
        <source>No keyboard has this key</source>
        <translation>Keine Tastatur hat diese Taste</translation>
    </message>
    <message>
        <source>Not installed</source>
        <translation>Nicht installiert</translation>
    </message>
    <message>
        <source>Replaced by row %1</source>
        <translation>Ersetzt durch Zeile %1</translation>
    </message>
    <message>
        <source>Keyvane has no access to your keyboards (%1: %2), so it cannot install your mappings. Install the Keyvane package: its keymap service changes keymaps for you, with no group. Without it, the group input gives access (keyvane-grant-input-access --grant, then log out and in), but it also lets every program you run read your keys.</source>
        <translation>Keyvane hat keinen Zugriff auf Ihre Tastaturen (%1: %2) und kann Ihre Zuordnungen daher nicht installieren. Installieren Sie das Keyvane-Paket: Sein Tastaturbelegungsdienst ändert die Belegungen für Sie, ohne Gruppe. Ohne ihn gibt die Gruppe input Zugriff (keyvane-grant-input-access --grant, dann ab- und wieder anmelden), erlaubt aber auch jedem Programm, das Sie starten, Ihre Tastendrücke zu lesen.</translation>
    </message>
    <message>
        <source>Keyvane cannot open %1 (%2), which may be a keyboard, so it cannot install your mappings. Unplug that device and plug it in again, or restart.</source>
        <translation>Keyvane kann %1 (%2) nicht öffnen, womöglich eine Tastatur, und Ihre Zuordnungen daher nicht installieren. Ziehen Sie dieses Gerät ab und stecken Sie es wieder ein, oder starten Sie neu.</translation>
    </message>
    <message>
        <source>No keyboard is connected, so no mapping is installed. Plug one in: Keyvane installs your mappings on it at once.</source>
        <translation>Keine Tastatur ist angeschlossen, daher ist keine Zuordnung installiert. Schließen Sie eine an: Keyvane installiert Ihre Zuordnungen sofort darauf.</translation>
    </message>
    <message>
        <source>The keyboard chosen in Apply to (product id %1) is not connected, so no mapping is installed. Plug it in, or choose All keyboards.</source>
        <translation>Die unter „Anwenden auf“ gewählte Tastatur (Produkt-ID %1) ist nicht angeschlossen, daher ist keine Zuordnung installiert. Schließen Sie sie an, oder wählen Sie „Alle Tastaturen“.</translation>
    </message>
</context>
<context>
    <name>PermanentKeymap</name>
    <message>
        <source>Nothing to make permanent</source>
        <translation>Nichts dauerhaft zu machen</translation>
    </message>
    <message>
        <source>Your list has no mappings. To remove a permanent keymap, choose File &gt; Remove Permanent Keymap (or run keyvane --remove-permanent).</source>
        <translation>Ihre Liste hat keine Zuordnungen. Um eine dauerhafte Tastenbelegung zu entfernen, wählen Sie Datei &gt; Dauerhafte Tastenbelegung entfernen (oder rufen Sie keyvane --remove-permanent auf).</translation>
    </message>
    <message>
        <source>The permanent keymap needs Keyvane installed</source>
        <translation>Die dauerhafte Tastenbelegung braucht ein installiertes Keyvane</translation>
    </message>
    <message>
        <source>The helper that writes the permanent keymap, %1, is not there, as when Keyvane runs from its build folder. Install Keyvane (its Debian package, or cmake --install) and try again. Nothing was changed.</source>
        <translation>Das Hilfsprogramm, das die dauerhafte Tastenbelegung schreibt, %1, ist nicht vorhanden, wie wenn Keyvane aus seinem Build-Ordner läuft. Installieren Sie Keyvane (sein Debian-Paket oder cmake --install) und versuchen Sie es erneut. Nichts wurde geändert.</translation>
    </message>
    <message>
        <source>Make your keys permanent?</source>
        <translation>Ihre Tasten dauerhaft machen?</translation>
    </message>
    <message>
        <source>Your list of %1, for %2, is written to udev&apos;s hwdb and applies before anyone logs in: at the login screen, on the text console and for every user of this computer.
File: %3</source>
        <translation>Ihre Liste mit %1, für %2, wird in die hwdb von udev geschrieben und gilt, bevor sich jemand anmeldet: auf dem Anmeldebildschirm, auf der Textkonsole und für alle Benutzer dieses Computers.
Datei: %3</translation>
    </message>
    <message>
        <source>all keyboards</source>
        <translation>alle Tastaturen</translation>
    </message>
    <message>
        <source>the keyboard %1</source>
        <translation>die Tastatur %1</translation>
    </message>
    <message>
        <source>A keyboard first plugged in later is not covered until you make the list permanent again.</source>
        <translation>Eine Tastatur, die erst später angeschlossen wird, ist nicht erfasst, bis Sie die Liste erneut dauerhaft machen.</translation>
    </message>
    <message>
        <source>Careful: your list moves or disables keys you may type your password with: %1. The login screen and the text console will see those keys changed too, and so will the disk-encryption prompt where the initramfs carries udev&apos;s hwdb (Debian 12&apos;s does not).</source>
        <translation>Vorsicht: Ihre Liste verschiebt oder deaktiviert Tasten, mit denen Sie vielleicht Ihr Passwort eingeben: %1. Auch der Anmeldebildschirm und die Textkonsole sehen diese Tasten geändert, ebenso die Abfrage der Festplattenverschlüsselung, wo das initramfs die hwdb von udev enthält (das von Debian 12 enthält sie nicht).</translation>
    </message>
    <message>
        <source>Once the keys have changed, you have %1 seconds to keep them; otherwise they change back.</source>
        <translation>Sobald sich die Tasten geändert haben, haben Sie %1 Sekunden, um sie zu behalten; sonst werden sie zurückgeändert.</translation>
    </message>
    <message>
        <source>Make Permanent</source>
        <translation>Dauerhaft machen</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
    <message>
        <source>Remove the permanent keymap?</source>
        <translation>Die dauerhafte Tastenbelegung entfernen?</translation>
    </message>
    <message>
        <source>The login screen, the console and every user get the keyboards&apos; own keys again. Your list stays, and Keyvane installs it for you as before.
File to remove: %1</source>
        <translation>Der Anmeldebildschirm, die Konsole und alle Benutzer bekommen wieder die eigenen Tasten der Tastaturen. Ihre Liste bleibt, und Keyvane installiert sie für Sie wie bisher.
Zu entfernende Datei: %1</translation>
    </message>
    <message>
        <source>Remove</source>
        <translation>Entfernen</translation>
    </message>
    <message>
        <source>Keep these keys?</source>
        <translation>Diese Tasten behalten?</translation>
    </message>
    <message>
        <source>The keys change back in %1 seconds unless you keep them.</source>
        <translation>Die Tasten werden in %1 Sekunden zurückgeändert, wenn Sie sie nicht behalten.</translation>
    </message>
    <message>
        <source>Keep</source>
        <translation>Behalten</translation>
    </message>
    <message>
        <source>Change Back</source>
        <translation>Zurückändern</translation>
    </message>
    <message>
        <source>Keep these keys? Press Enter within %1 seconds to keep them; otherwise they change back.</source>
        <translation>Diese Tasten behalten? Drücken Sie innerhalb von %1 Sekunden die Eingabetaste, um sie zu behalten; sonst werden sie zurückgeändert.</translation>
    </message>
    <message>
        <source>Your keys are permanent</source>
        <translation>Ihre Tasten sind dauerhaft</translation>
    </message>
    <message>
        <source>Your list applies from the login screen on, for every user.
File: %1</source>
        <translation>Ihre Liste gilt ab dem Anmeldebildschirm, für alle Benutzer.
Datei: %1</translation>
    </message>
    <message>
        <source>The keys changed back</source>
        <translation>Die Tasten wurden zurückgeändert</translation>
    </message>
    <message>
        <source>The previous permanent keymap is back.</source>
        <translation>Die vorige dauerhafte Tastenbelegung gilt wieder.</translation>
    </message>
    <message>
        <source>No permanent keymap is in place, as before.</source>
        <translation>Wie zuvor gilt keine dauerhafte Tastenbelegung.</translation>
    </message>
    <message>
        <source>The permanent keymap is removed</source>
        <translation>Die dauerhafte Tastenbelegung ist entfernt</translation>
    </message>
    <message>
        <source>Before anyone logs in, the keyboards have their own keys again.</source>
        <translation>Bevor sich jemand anmeldet, haben die Tastaturen wieder ihre eigenen Tasten.</translation>
    </message>
    <message>
        <source>Your keys could not be made permanent</source>
        <translation>Ihre Tasten konnten nicht dauerhaft gemacht werden</translation>
    </message>
    <message>
        <source>The permanent keymap could not be removed</source>
        <translation>Die dauerhafte Tastenbelegung konnte nicht entfernt werden</translation>
    </message>
    <message>
        <source>The helper ended with status %1.</source>
        <translation>Das Hilfsprogramm endete mit Status %1.</translation>
    </message>
    <message>
        <source>Nothing was changed</source>
        <translation>Nichts wurde geändert</translation>
    </message>
    <message>
        <source>The password was not given, so the helper did not run.</source>
        <translation>Das Passwort wurde nicht eingegeben, daher lief das Hilfsprogramm nicht.</translation>
    </message>
    <message>
        <source>You are not allowed to change the permanent keymap: it takes an administrator&apos;s password.</source>
        <translation>Sie dürfen die dauerhafte Tastenbelegung nicht ändern: Dafür ist das Passwort eines Administrators nötig.</translation>
    </message>
</context>
<context>
    <name>QObject</name>
    <message>
        <source>Pick a key…</source>
        <translation>Taste wählen …</translation>
    </message>
    <message>
        <source>Export Mappings</source>
        <translation>Zuordnungen exportieren</translation>
    </message>
    <message>
        <source>Import Mappings</source>
        <translation>Zuordnungen importieren</translation>
    </message>
</context>
<context>
    <name>SettingsAlerts</name>
    <message>
        <source>Your settings could not be read</source>
        <translation>Ihre Einstellungen konnten nicht gelesen werden</translation>
    </message>
    <message>
        <source>Keyvane could not read %1 (%2), so it started without your mappings and settings. The unreadable file was kept as %3.</source>
        <translation>Keyvane konnte %1 nicht lesen (%2) und ist daher ohne Ihre Zuordnungen und Einstellungen gestartet. Die unlesbare Datei wurde als %3 aufbewahrt.</translation>
    </message>
    <message>
        <source>Keyvane could not read %1 (%2), so it started without your mappings and settings. The file could not be moved aside either, so nothing will be saved until you move it away.</source>
        <translation>Keyvane konnte %1 nicht lesen (%2) und ist daher ohne Ihre Zuordnungen und Einstellungen gestartet. Die Datei ließ sich auch nicht beiseiteschieben, daher wird nichts gespeichert, bis Sie sie wegbewegen.</translation>
    </message>
    <message>
        <source>Keyvane could not read %1 (%2), so it started without your mappings and settings. It left that as it is and will not save over it while it runs, so what you change now lasts until Keyvane ends. Make sure it is a file you can read, then start Keyvane again.</source>
        <translation>Keyvane konnte %1 nicht lesen (%2) und ist daher ohne Ihre Zuordnungen und Einstellungen gestartet. Es hat sie so gelassen, wie sie ist, und speichert nicht darüber, solange es läuft; was Sie jetzt ändern, gilt also nur, bis Keyvane endet. Sorgen Sie dafür, dass es eine Datei ist, die Sie lesen können, und starten Sie Keyvane dann erneut.</translation>
    </message>
    <message>
        <source>Your settings could not be saved</source>
        <translation>Ihre Einstellungen konnten nicht gespeichert werden</translation>
    </message>
    <message>
        <source>Keyvane could not save your settings to %1 (%2). Your change is in effect now but will be gone the next time Keyvane starts. Make sure the folder can be written, then make the change again.</source>
        <translation>Keyvane konnte Ihre Einstellungen nicht in %1 speichern (%2). Ihre Änderung gilt jetzt, ist aber beim nächsten Start von Keyvane verloren. Sorgen Sie dafür, dass der Ordner beschreibbar ist, und nehmen Sie die Änderung dann erneut vor.</translation>
    </message>
</context>
<context>
    <name>StatusColumn</name>
    <message>
        <source>%1: installed</source>
        <translation>%1: installiert</translation>
    </message>
    <message>
        <source>%1: permanent (udev&apos;s hwdb)</source>
        <translation>%1: dauerhaft (hwdb von udev)</translation>
    </message>
    <message>
        <source>%1: changed by another program, installed again</source>
        <translation>%1: von einem anderen Programm geändert, erneut installiert</translation>
    </message>
    <message>
        <source>%1: changed by another program, also after installing again</source>
        <translation>%1: von einem anderen Programm geändert, auch nach erneutem Installieren</translation>
    </message>
    <message>
        <source>%1: has no such key</source>
        <translation>%1: hat diese Taste nicht</translation>
    </message>
    <message>
        <source>%1: a key of this mapping is unknown</source>
        <translation>%1: eine Taste dieser Zuordnung ist unbekannt</translation>
    </message>
    <message>
        <source>Row %1 maps the same key: a key gives one code, and the last mapping of it wins</source>
        <translation>Zeile %1 belegt dieselbe Taste um: Eine Taste erzeugt einen Code, und ihre letzte Zuordnung gilt</translation>
    </message>
    <message>
        <source>No keyboard has this mapping installed</source>
        <translation>Keine Tastatur hat diese Zuordnung installiert</translation>
    </message>
</context>
<context>
    <name>UpdateCheck</name>
    <message>
        <source>App update required</source>
        <translation>Aktualisierung erforderlich</translation>
    </message>
    <message>
        <source>This version is significantly outdated and will no longer work. Please relaunch the app after downloading the latest version.</source>
        <translation>Diese Version ist stark veraltet und funktioniert nicht mehr. Bitte starten Sie die App neu, nachdem Sie die neueste Version heruntergeladen haben.</translation>
    </message>
    <message>
        <source>Visit download page</source>
        <translation>Downloadseite öffnen</translation>
    </message>
    <message>
        <source>App update available</source>
        <translation>Aktualisierung verfügbar</translation>
    </message>
    <message>
        <source>Currently installed: </source>
        <translation>Derzeit installiert: </translation>
    </message>
    <message>
        <source>
Latest version:</source>
        <translation>
Neueste Version: </translation>
    </message>
    <message>
        <source>

It is recommended that you update the app for stability and performance.</source>
        <translation>

Für Stabilität und Leistung empfiehlt es sich, die App zu aktualisieren.</translation>
    </message>
    <message>
        <source>Download now</source>
        <translation>Jetzt herunterladen</translation>
    </message>
    <message>
        <source>Don&apos;t show again for this version</source>
        <translation>Für diese Version nicht mehr anzeigen</translation>
    </message>
</context>
<context>
    <name>keyvane::InstallationSummary</name>
    <message>
        <source>Closing this window keeps your mappings installed.</source>
        <translation>Beim Schließen bleiben Ihre Zuordnungen installiert.</translation>
    </message>
    <message>
        <source>None of your mappings is installed.</source>
        <translation>Keine Zuordnung ist installiert.</translation>
    </message>
    <message>
        <source>Install Now</source>
        <translation>Jetzt installieren</translation>
    </message>
</context>
<context>
    <name>keyvane::KeyNames</name>
    <message>
        <source>%1 (%2)</source>
        <translation>%1 (%2)</translation>
    </message>
    <message>
        <source>%1 — %2 on your keyboard</source>
        <translation>%1 — %2 auf Ihrer Tastatur</translation>
    </message>
</context>
<context>
    <name>keyvane::KeyboardVC</name>
    <message>
        <source>Original key: %1</source>
        <translation>Originaltaste: %1</translation>
    </message>
    <message>
        <source>, new key: %1</source>
        <translation>, neue Taste: %1</translation>
    </message>
    <message>
        <source>Remap a key</source>
        <translation>Eine Taste umbelegen</translation>
    </message>
    <message>
        <source>Press the new key to remap the original key into (or pick from the below list)</source>
        <translation>Drücken Sie die neue Taste, die die Originaltaste erzeugen soll (oder wählen Sie sie aus der Liste unten)</translation>
    </message>
    <message>
        <source>Row %1 already maps %2: a key gives one code, so this mapping, added after it, replaces it.</source>
        <translation>Zeile %1 ordnet %2 bereits zu: Eine Taste liefert nur einen Code, daher ersetzt diese Zuordnung, die danach hinzugefügt wird, jene.</translation>
    </message>
</context>
<context>
    <name>keyvane::MainVC</name>
    <message>
        <source>Original key</source>
        <translation>Originaltaste</translation>
    </message>
    <message>
        <source>New key</source>
        <translation>Neue Taste</translation>
    </message>
    <message>
        <source>Status</source>
        <translation>Status</translation>
    </message>
    <message>
        <source>No room for another mapping</source>
        <translation>Kein Platz für eine weitere Zuordnung</translation>
    </message>
    <message>
        <source>One installation can carry at most %1 mappings, and your list has %2. Remove %3 before you add another.</source>
        <translation>Eine Installation kann höchstens %1 Zuordnungen aufnehmen, und Ihre Liste hat %2. Entfernen Sie %3, bevor Sie eine weitere hinzufügen.</translation>
    </message>
</context>
<context>
    <name>keyvane::MappingHistory</name>
    <message>
        <source>&amp;Undo %1</source>
        <translation>&amp;Rückgängig: %1</translation>
    </message>
    <message>
        <source>Re&amp;do %1</source>
        <translation>&amp;Wiederholen: %1</translation>
    </message>
    <message>
        <source>Add Mapping</source>
        <translation>Zuordnung hinzufügen</translation>
    </message>
    <message>
        <source>Remove Mapping</source>
        <translation>Zuordnung entfernen</translation>
    </message>
    <message>
        <source>Import</source>
        <translation>Import</translation>
    </message>
    <message>
        <source>Keyboard Choice</source>
        <translation>Wahl der Tastatur</translation>
    </message>
</context>
<context>
    <name>keyvane::PermanentKeymapDialogs</name>
    <message>
        <source>OK</source>
        <translation>OK</translation>
    </message>
</context>
<context>
    <name>keyvane::SegmentedControl</name>
    <message>
        <source>Add a mapping (Ctrl+N)</source>
        <translation>Eine Zuordnung hinzufügen (Strg+N)</translation>
    </message>
    <message>
        <source>Remove the selected mapping (Delete)</source>
        <translation>Die ausgewählte Zuordnung entfernen (Entf)</translation>
    </message>
</context>
<context>
    <name>main</name>
    <message>
        <source>Keyvane needs a graphical session to show its window, and this one has none: neither DISPLAY (X11) nor WAYLAND_DISPLAY (Wayland) is set. Start it from your desktop, or set one of them.</source>
        <translation>Keyvane braucht eine grafische Sitzung, um sein Fenster zu zeigen, und diese hat keine: Weder DISPLAY (X11) noch WAYLAND_DISPLAY (Wayland) ist gesetzt. Starten Sie es von Ihrem Desktop aus, oder setzen Sie eine der beiden Variablen.</translation>
    </message>
    <message>
        <source>no graphical session here; the running Keyvane was asked to show its window</source>
        <translation>hier gibt es keine grafische Sitzung; das laufende Keyvane wurde gebeten, sein Fenster zu zeigen</translation>
    </message>
    <message>
        <source>Keyvane could not reach %1, so its window opens on %2 instead.</source>
        <translation>Keyvane konnte %1 nicht erreichen, daher öffnet sich sein Fenster stattdessen auf %2.</translation>
    </message>
</context>
</TS>
