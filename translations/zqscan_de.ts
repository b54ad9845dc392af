<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de_DE" sourcelanguage="en">
<context>
    <name>AboutPage</name>
    <message>
        <source>About</source>
        <translation>Über Corvane</translation>
    </message>
    <message>
        <source>Corvane Endpoint Protection</source>
        <translation>Corvane Endpoint Protection</translation>
    </message>
    <message>
        <source>Scan engine version</source>
        <translation>Version des Virenscanners</translation>
    </message>
    <message>
        <source>Virus database date</source>
        <translation>Datum der Virendatenbank</translation>
    </message>
    <message>
        <source>Web site of the maker</source>
        <translation>Webseite des Herstellers</translation>
    </message>
    <message>
        <source>Open the web site with Mozilla (Alt+M)</source>
        <translation>Die Webseite mit Mozilla öffnen (Alt+M)</translation>
    </message>
    <message>
        <source>Open the web site with Mozilla</source>
        <translation>Die Webseite mit Mozilla öffnen</translation>
    </message>
    <message>
        <source>Open with &amp;Mozilla</source>
        <translation>Mit &amp;Mozilla öffnen</translation>
    </message>
    <message>
        <source>Alt+M</source>
        <translation>Alt+M</translation>
    </message>
    <message>
        <source>Open the web site with the browser of this desktop (Alt+W)</source>
        <translation>Die Webseite mit dem Browser dieses Desktops öffnen (Alt+W)</translation>
    </message>
    <message>
        <source>Open the web site with the browser of this desktop</source>
        <translation>Die Webseite mit dem Browser dieses Desktops öffnen</translation>
    </message>
    <message>
        <source>Open with your bro&amp;wser</source>
        <translation>Mit Ihrem Bro&amp;wser öffnen</translation>
    </message>
    <message>
        <source>Alt+W</source>
        <translation>Alt+W</translation>
    </message>
    <message>
        <source>:  not known</source>
        <translation>:  nicht bekannt</translation>
    </message>
    <message>
        <source>Critical!</source>
        <translation>Schwerer Fehler!</translation>
    </message>
    <message>
        <source>Web Browser reports an error!</source>
        <translation>Der Webbrowser meldet einen Fehler!</translation>
    </message>
    <message>
        <source>The desktop has opened no browser.
Copy the address into one.</source>
        <translation>Der Desktop hat keinen Browser geöffnet.
Kopieren Sie die Adresse in einen.</translation>
    </message>
</context>
<context>
    <name>ConnectionTest</name>
    <message>
        <source>There was no answer in time; the test was ended.</source>
        <translation>Es kam keine Antwort in der vorgesehenen Zeit; der Test wurde beendet.</translation>
    </message>
    <message>
        <source>The test ended without a result.</source>
        <translation>Der Test endete ohne Ergebnis.</translation>
    </message>
    <message>
        <source>The program that tests the connection is missing or cannot be started: %1</source>
        <translation>Das Programm, das die Verbindung testet, fehlt oder lässt sich nicht starten: %1</translation>
    </message>
    <message>
        <source>The connection works.</source>
        <translation>Die Verbindung funktioniert.</translation>
    </message>
    <message>
        <source>The name of the server was not found.</source>
        <translation>Der Name des Servers wurde nicht gefunden.</translation>
    </message>
    <message>
        <source>The server refused the connection.</source>
        <translation>Der Server hat die Verbindung abgelehnt.</translation>
    </message>
    <message>
        <source>The proxy server does not accept the user ID and password (error 407).</source>
        <translation>Der Proxyserver nimmt Benutzer-ID und Passwort nicht an (Fehler 407).</translation>
    </message>
    <message>
        <source>The certificate of the server cannot be trusted.</source>
        <translation>Dem Zertifikat des Servers kann nicht vertraut werden.</translation>
    </message>
    <message>
        <source>There was no answer within 10 seconds.</source>
        <translation>Innerhalb von 10 Sekunden kam keine Antwort.</translation>
    </message>
    <message>
        <source>The test failed: %1</source>
        <translation>Der Test ist fehlgeschlagen: %1</translation>
    </message>
</context>
<context>
    <name>DefinitionsStatus</name>
    <message>
        <source>Definitions: not known</source>
        <translation>Definitionen: nicht bekannt</translation>
    </message>
    <message>
        <source>Definitions: version %1, date not known</source>
        <translation>Definitionen: Version %1, Datum nicht bekannt</translation>
    </message>
    <message>
        <source>Definitions: version %1, %2, %3</source>
        <translation>Definitionen: Version %1, %2, %3</translation>
    </message>
    <message>
        <source>%1. They are out of date.</source>
        <translation>%1. Sie sind veraltet.</translation>
    </message>
    <message>
        <source>of today</source>
        <translation>von heute</translation>
    </message>
    <message>
        <source>1 day old</source>
        <translation>1 Tag alt</translation>
    </message>
    <message>
        <source>%1 days old</source>
        <translation>%1 Tage alt</translation>
    </message>
    <message>
        <source>en_GB</source>
        <comment>the language that dates are written in</comment>
        <translation>de_DE</translation>
    </message>
    <message>
        <source>d MMMM yyyy</source>
        <comment>how a date is written</comment>
        <translation>d. MMMM yyyy</translation>
    </message>
    <message>
        <source>Last update: not known</source>
        <translation>Letztes Update: nicht bekannt</translation>
    </message>
    <message>
        <source>Last update: none yet</source>
        <translation>Letztes Update: noch keines</translation>
    </message>
    <message>
        <source>Last update: %1, %2</source>
        <translation>Letztes Update: %1, %2</translation>
    </message>
    <message>
        <source>%1, %2</source>
        <comment>date and time of day</comment>
        <translation>%1, %2</translation>
    </message>
    <message>
        <source>updated</source>
        <translation>aktualisiert</translation>
    </message>
    <message>
        <source>nothing new</source>
        <translation>nichts Neues</translation>
    </message>
    <message>
        <source>failed</source>
        <translation>fehlgeschlagen</translation>
    </message>
    <message>
        <source>stopped</source>
        <translation>abgebrochen</translation>
    </message>
    <message>
        <source>no valid definition files</source>
        <translation>keine gültigen Definitionsdateien</translation>
    </message>
</context>
<context>
    <name>FindBar</name>
    <message>
        <source>&amp;Find:</source>
        <translation>&amp;Suchen:</translation>
    </message>
    <message>
        <source>Text to find in the report</source>
        <translation>Im Bericht zu suchender Text</translation>
    </message>
    <message>
        <source>Previous match (Shift+F3)</source>
        <translation>Voriger Treffer (Umschalt+F3)</translation>
    </message>
    <message>
        <source>Previous match</source>
        <translation>Voriger Treffer</translation>
    </message>
    <message>
        <source>Next match (F3)</source>
        <translation>Nächster Treffer (F3)</translation>
    </message>
    <message>
        <source>Next match</source>
        <translation>Nächster Treffer</translation>
    </message>
    <message>
        <source>Close the search (Esc)</source>
        <translation>Suche schließen (Esc)</translation>
    </message>
    <message>
        <source>Close the search</source>
        <translation>Suche schließen</translation>
    </message>
    <message>
        <source>No match</source>
        <translation>Kein Treffer</translation>
    </message>
    <message>
        <source>1 match</source>
        <translation>1 Treffer</translation>
    </message>
    <message>
        <source>%1 matches</source>
        <translation>%1 Treffer</translation>
    </message>
    <message>
        <source>%1 of %2</source>
        <translation>%1 von %2</translation>
    </message>
    <message>
        <source>Searching ...</source>
        <translation>Suche läuft ...</translation>
    </message>
</context>
<context>
    <name>FolderPicker</name>
    <message>
        <source>Select Directory</source>
        <translation>Ordner auswählen</translation>
    </message>
    <message>
        <source>Folders</source>
        <translation>Ordner</translation>
    </message>
    <message>
        <source>Folders of this computer. Space ticks or unticks a folder, Right opens it.</source>
        <translation>Ordner dieses Rechners. Die Leertaste kreuzt einen Ordner an oder ab, die Pfeiltaste nach rechts öffnet ihn.</translation>
    </message>
    <message>
        <source>Folder</source>
        <translation>Ordner</translation>
    </message>
    <message>
        <source>Scan the ticked folders (Alt+S)</source>
        <translation>Die angekreuzten Ordner scannen (Alt+S)</translation>
    </message>
    <message>
        <source>Scan the ticked folders</source>
        <translation>Die angekreuzten Ordner scannen</translation>
    </message>
    <message>
        <source>&amp;Scan</source>
        <translation>&amp;Scannen</translation>
    </message>
    <message>
        <source>Close without scanning (Alt+C)</source>
        <translation>Schließen, ohne zu scannen (Alt+C)</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
    <message>
        <source>&amp;Cancel</source>
        <translation>Abbre&amp;chen</translation>
    </message>
    <message>
        <source>Corvane Scan</source>
        <translation>Corvane-Scan</translation>
    </message>
    <message>
        <source>These folders cannot be scanned because their paths are longer than 255 bytes. They are left out:</source>
        <translation>Diese Ordner können nicht gescannt werden, weil ihre Pfade länger als 255 Bytes sind. Sie werden ausgelassen:</translation>
    </message>
    <message>
        <source>Please select directory to scan.</source>
        <translation>Bitte einen Ordner auswählen, der gescannt werden soll.</translation>
    </message>
    <message>
        <source>Tick the &amp;folders to scan. Each is scanned with all it contains.</source>
        <translation>&amp;Ordner ankreuzen, die gescannt werden sollen. Jeder wird mit seinem ganzen Inhalt gescannt.</translation>
    </message>
    <message>
        <source>%1 ticked inside</source>
        <translation>%1 darin angekreuzt</translation>
    </message>
    <message>
        <source>No folder is ticked.</source>
        <translation>Kein Ordner ist angekreuzt.</translation>
    </message>
    <message>
        <source>1 folder is ticked.</source>
        <translation>1 Ordner ist angekreuzt.</translation>
    </message>
    <message>
        <source>%1 folders are ticked.</source>
        <translation>%1 Ordner sind angekreuzt.</translation>
    </message>
    <message>
        <source>%1 inside closed folders.</source>
        <translation>%1 davon in zugeklappten Ordnern.</translation>
    </message>
    <message>
        <source>Tick the folders that are wanted. The arrow keys go through them and open them; Space ticks one with all that is in it.</source>
        <translation>Haken Sie die gewünschten Ordner an. Die Pfeiltasten führen durch sie und öffnen sie; die Leertaste hakt einen mit allem an, was darin liegt.</translation>
    </message>
</context>
<context>
    <name>HelpPage</name>
    <message>
        <source>This page cannot be read:</source>
        <translation>Diese Seite kann nicht gelesen werden:</translation>
    </message>
    <message>
        <source>This file is too long to be shown in here:</source>
        <translation>Diese Datei ist zu lang, um hier gezeigt zu werden:</translation>
    </message>
</context>
<context>
    <name>Manual</name>
    <message>
        <source>doc/html/</source>
        <extracomment>The folder of the manual in this language, as &quot;doc/html/de/&quot;.</extracomment>
        <translation>doc/html/de/</translation>
    </message>
</context>
<context>
    <name>Messages</name>
    <message>
        <source>&amp;Yes</source>
        <translation>&amp;Ja</translation>
    </message>
    <message>
        <source>&amp;No</source>
        <translation>&amp;Nein</translation>
    </message>
</context>
<context>
    <name>NameLabel</name>
    <message>
        <source>&amp;Copy</source>
        <translation>&amp;Kopieren</translation>
    </message>
</context>
<context>
    <name>PasswordLock</name>
    <message>
        <source>Unable to read the settings, Please try again.</source>
        <translation>Die Einstellungen können nicht gelesen werden, bitte erneut versuchen.</translation>
    </message>
    <message>
        <source>Enter password:</source>
        <translation>Passwort eingeben:</translation>
    </message>
    <message>
        <source>Invalid password</source>
        <translation>Ungültiges Passwort</translation>
    </message>
    <message>
        <source>An administrator has put a password before this page. Only an administrator can tell it, or set another one.</source>
        <translation>Ein Administrator hat diese Seite mit einem Passwort geschützt. Nur ein Administrator kann es nennen oder ein anderes setzen.</translation>
    </message>
</context>
<context>
    <name>ReportPrinter</name>
    <message>
        <source>Page %1 of %2</source>
        <translation>Seite %1 von %2</translation>
    </message>
</context>
<context>
    <name>ReportsPage</name>
    <message>
        <source>Reports</source>
        <translation>Berichte</translation>
    </message>
    <message>
        <source>Reports for</source>
        <translation>Berichte für</translation>
    </message>
    <message>
        <source>Select which reports to list</source>
        <translation>Auswählen, welche Berichte gezeigt werden</translation>
    </message>
    <message>
        <source>Scanner</source>
        <translation>Virenscanner</translation>
    </message>
    <message>
        <source>Update</source>
        <translation>Aktualisierung</translation>
    </message>
    <message>
        <source>Schedule Scan</source>
        <translation>Geplante Prüfung</translation>
    </message>
    <message>
        <source>Select Entry to view the report</source>
        <translation>Eintrag auswählen, um den Bericht anzusehen</translation>
    </message>
    <message>
        <source>Date/Time</source>
        <translation>Datum/Zeit</translation>
    </message>
    <message>
        <source>Scanned Objects</source>
        <translation>Geprüfte Objekte</translation>
    </message>
    <message>
        <source>Report Summary</source>
        <translation>Bericht</translation>
    </message>
    <message>
        <source>&amp;Delete Report</source>
        <translation>Bericht löschen</translation>
    </message>
    <message>
        <source>Alt+D</source>
        <translation>Alt+D</translation>
    </message>
    <message>
        <source>Delete selected report (Alt+D)</source>
        <translation>Ausgewählten Bericht löschen (Alt+D)</translation>
    </message>
    <message>
        <source>Show Re&amp;port</source>
        <translation>Bericht anzeigen</translation>
    </message>
    <message>
        <source>Alt+P</source>
        <translation>Alt+P</translation>
    </message>
    <message>
        <source>Show selected report (Alt+P)</source>
        <translation>Ausgewählten Bericht anzeigen (Alt+P)</translation>
    </message>
    <message>
        <source>Unable to open Report File. 
 Close all the application and try again</source>
        <translation>Die Berichtsdatei kann nicht geöffnet werden. 
 Schließen Sie alle Anwendungen und versuchen Sie es erneut</translation>
    </message>
    <message>
        <source>Error in report delete.</source>
        <translation>Fehler beim Löschen des Berichts.</translation>
    </message>
    <message>
        <source>No update reports yet.
Every update of the virus database leaves one here.</source>
        <translation>Noch keine Aktualisierungsberichte.
Jede Aktualisierung der Virendatenbank hinterlässt hier einen.</translation>
    </message>
    <message>
        <source>No reports of scheduled scans yet.
Every scheduled scan leaves one here.</source>
        <translation>Noch keine Berichte geplanter Prüfungen.
Jede geplante Prüfung hinterlässt hier einen.</translation>
    </message>
    <message>
        <source>No scan reports yet.
Scan a file or a folder: its report will be here.</source>
        <translation>Noch keine Prüfberichte.
Prüfen Sie eine Datei oder einen Ordner: Der Bericht steht dann hier.</translation>
    </message>
    <message>
        <source>Delete selected report</source>
        <translation>Ausgewählten Bericht löschen</translation>
    </message>
    <message>
        <source>Show selected report</source>
        <translation>Ausgewählten Bericht anzeigen</translation>
    </message>
    <message>
        <source>The list of these reports cannot be read.</source>
        <translation>Die Liste dieser Berichte kann nicht gelesen werden.</translation>
    </message>
    <message>
        <source>Select a report in the list first.</source>
        <translation>Wählen Sie zuerst einen Bericht in der Liste aus.</translation>
    </message>
</context>
<context>
    <name>ScanNote</name>
    <message>
        <source>Nothing was found in what was read.</source>
        <translation>In dem, was gelesen wurde, wurde nichts gefunden.</translation>
    </message>
    <message>
        <source>1 file was not read.</source>
        <translation>1 Datei wurde nicht gelesen.</translation>
    </message>
    <message>
        <source>%1 files were not read.</source>
        <translation>%1 Dateien wurden nicht gelesen.</translation>
    </message>
    <message>
        <source>Stopping after this file...</source>
        <translation>Der Scan hält nach dieser Datei an …</translation>
    </message>
    <message>
        <source>Nothing was found until then.</source>
        <translation>Bis dahin wurde nichts gefunden.</translation>
    </message>
    <message>
        <source>Nothing was found.</source>
        <translation>Es wurde nichts gefunden.</translation>
    </message>
    <message>
        <source>1 detection.</source>
        <translation>1 Fund.</translation>
    </message>
    <message>
        <source>%1 detections.</source>
        <translation>%1 Funde.</translation>
    </message>
    <message>
        <source>Stopped before the end.</source>
        <translation>Vorzeitig angehalten.</translation>
    </message>
</context>
<context>
    <name>ScanPage</name>
    <message>
        <source>Scanner</source>
        <translation>Virenscanner</translation>
    </message>
    <message>
        <source>Home Page</source>
        <translation>Startseite</translation>
    </message>
    <message>
        <source>Select file to scan (Alt+F)</source>
        <translation>Datei zum Scannen auswählen (Alt+F)</translation>
    </message>
    <message>
        <source>Select file to scan</source>
        <translation>Datei zum Scannen auswählen</translation>
    </message>
    <message>
        <source>Scan a file</source>
        <translation>Eine Datei scannen</translation>
    </message>
    <message>
        <source>Choose one file and look into it for viruses.</source>
        <translation>Eine Datei auswählen und in ihr nach Viren suchen.</translation>
    </message>
    <message>
        <source>Alt+F</source>
        <translation>Alt+F</translation>
    </message>
    <message>
        <source>Select Directory to scan (Alt+D)</source>
        <translation>Ordner zum Scannen auswählen (Alt+D)</translation>
    </message>
    <message>
        <source>Select Directory to scan</source>
        <translation>Ordner zum Scannen auswählen</translation>
    </message>
    <message>
        <source>Scan folders</source>
        <translation>Ordner scannen</translation>
    </message>
    <message>
        <source>Tick the folders whose files are to be scanned.</source>
        <translation>Die Ordner ankreuzen, deren Dateien gescannt werden sollen.</translation>
    </message>
    <message>
        <source>Alt+D</source>
        <translation>Alt+D</translation>
    </message>
    <message>
        <source>The file
%1
cannot be reached by this name. Nothing was scanned; to scan it, scan its folder.</source>
        <translation>Die Datei
%1
ist unter diesem Namen nicht erreichbar. Es wurde nichts gescannt; um sie zu scannen, bitte ihren Ordner scannen.</translation>
    </message>
    <message>
        <source>The name of the file
%1
is longer than 255 bytes. Nothing was scanned; to scan it, scan a folder above it.</source>
        <translation>Der Name der Datei
%1
ist länger als 255 Bytes. Es wurde nichts gescannt; um sie zu scannen, bitte einen Ordner darüber scannen.</translation>
    </message>
</context>
<context>
    <name>SchedulePage</name>
    <message>
        <source>Schedule Scan</source>
        <translation>Geplante Prüfung</translation>
    </message>
    <message>
        <source>Your scheduled scans</source>
        <translation>Ihre geplanten Prüfungen</translation>
    </message>
    <message>
        <source>Scheduled scans</source>
        <translation>Geplante Prüfungen</translation>
    </message>
    <message>
        <source>Schedule Item</source>
        <translation>Geplante Prüfung</translation>
    </message>
    <message>
        <source>Frequency</source>
        <translation>Häufigkeit</translation>
    </message>
    <message>
        <source>Scan Location</source>
        <translation>Ordner</translation>
    </message>
    <message>
        <source>Run the selected scan now (Alt+W)</source>
        <translation>Die ausgewählte Prüfung jetzt ausführen (Alt+J)</translation>
    </message>
    <message>
        <source>Run the selected scan now</source>
        <translation>Die ausgewählte Prüfung jetzt ausführen</translation>
    </message>
    <message>
        <source>Run no&amp;w</source>
        <translation>&amp;Jetzt ausführen</translation>
    </message>
    <message>
        <source>Show the report of the last run (Alt+P)</source>
        <translation>Den Bericht des letzten Laufs anzeigen (Alt+Z)</translation>
    </message>
    <message>
        <source>Show the report of the last run</source>
        <translation>Den Bericht des letzten Laufs anzeigen</translation>
    </message>
    <message>
        <source>Show Re&amp;port</source>
        <translation>Bericht an&amp;zeigen</translation>
    </message>
    <message>
        <source>Schedule a new scan (Alt+N)</source>
        <translation>Eine neue Prüfung planen (Alt+N)</translation>
    </message>
    <message>
        <source>New scheduled scan</source>
        <translation>Neue geplante Prüfung</translation>
    </message>
    <message>
        <source>&amp;New</source>
        <translation>&amp;Neu</translation>
    </message>
    <message>
        <source>Change the selected scan (Alt+E)</source>
        <translation>Die ausgewählte Prüfung ändern (Alt+B)</translation>
    </message>
    <message>
        <source>Change the selected scan</source>
        <translation>Die ausgewählte Prüfung ändern</translation>
    </message>
    <message>
        <source>&amp;Edit</source>
        <translation>&amp;Bearbeiten</translation>
    </message>
    <message>
        <source>Remove the selected scan (Alt+D)</source>
        <translation>Die ausgewählte Prüfung entfernen (Alt+F)</translation>
    </message>
    <message>
        <source>Remove the selected scan</source>
        <translation>Die ausgewählte Prüfung entfernen</translation>
    </message>
    <message>
        <source>&amp;Delete</source>
        <translation>Ent&amp;fernen</translation>
    </message>
    <message>
        <source>Daily</source>
        <translation>Täglich</translation>
    </message>
    <message>
        <source>Weekly</source>
        <translation>Wöchentlich</translation>
    </message>
    <message>
        <source>Please select task from list.</source>
        <translation>Bitte wählen Sie eine Prüfung in der Liste aus.</translation>
    </message>
    <message>
        <source>Do you want to  remove the Schedule Scan?</source>
        <translation>Möchten Sie die geplante Prüfung entfernen?</translation>
    </message>
</context>
<context>
    <name>ScheduleTexts</name>
    <message>
        <source>Scan already scheduled.</source>
        <translation>Eine Prüfung dieses Namens ist schon geplant.</translation>
    </message>
    <message>
        <source>A Scan Name cannot contain any special character.</source>
        <translation>Der Name einer Prüfung darf keine Sonderzeichen enthalten.</translation>
    </message>
    <message>
        <source>Scan already scheduled by another user.</source>
        <translation>Eine Prüfung dieses Namens hat schon jemand anders geplant.</translation>
    </message>
    <message>
        <source>Scan Name should not be greater than 255 characters. Enter valid scheduled scan name.</source>
        <translation>Der Name der Prüfung darf nicht länger als 255 Zeichen sein. Geben Sie einen gültigen Namen ein.</translation>
    </message>
    <message>
        <source>Scan Name is empty. Please enter valid scheduled scan name.</source>
        <translation>Der Name der Prüfung ist leer. Bitte geben Sie einen gültigen Namen ein.</translation>
    </message>
    <message>
        <source>Scan Name is not valid, Enter valid Scan Name.</source>
        <translation>Der Name der Prüfung ist ungültig. Geben Sie einen gültigen Namen ein.</translation>
    </message>
    <message>
        <source>%1 is not allowed. Enter full path.</source>
        <translation>%1 ist nicht erlaubt. Geben Sie den vollständigen Pfad an.</translation>
    </message>
    <message>
        <source>%1 does not exist. Please enter valid path.</source>
        <translation>%1 gibt es nicht. Bitte geben Sie einen gültigen Pfad an.</translation>
    </message>
    <message>
        <source>%1 is a file. Please enter directory path.</source>
        <translation>%1 ist eine Datei. Bitte geben Sie den Pfad eines Ordners an.</translation>
    </message>
    <message>
        <source>For directory %1 permission denied. Enter valid path.</source>
        <translation>Auf den Ordner %1 haben Sie keinen Zugriff. Geben Sie einen gültigen Pfad an.</translation>
    </message>
    <message>
        <source>%1 contains a semicolon, is not valid UTF-8 or is too long. It cannot be scanned at a scheduled time.</source>
        <translation>%1 enthält ein Semikolon, ist kein gültiges UTF-8 oder zu lang und kann nicht nach Plan gescannt werden.</translation>
    </message>
    <message>
        <source>%1 cannot be scanned at a scheduled time (error %2).</source>
        <translation>%1 kann nicht nach Plan gescannt werden (Fehler %2).</translation>
    </message>
    <message>
        <source>The service of the scheduler does not run or does not answer.</source>
        <translation>Der Dienst für geplante Prüfungen läuft nicht oder antwortet nicht.</translation>
    </message>
    <message>
        <source>This scheduled scan is no longer there.</source>
        <translation>Diese geplante Prüfung gibt es nicht mehr.</translation>
    </message>
    <message>
        <source>You have as many scheduled scans as are allowed. Remove one first.</source>
        <translation>Sie haben schon so viele geplante Prüfungen, wie erlaubt sind. Entfernen Sie zuerst eine.</translation>
    </message>
    <message>
        <source>The scheduler does not accept these settings.</source>
        <translation>Der Planer nimmt diese Einstellungen nicht an.</translation>
    </message>
    <message>
        <source>The list of scheduled scans cannot be read or written.</source>
        <translation>Die Liste der geplanten Prüfungen kann nicht gelesen oder geschrieben werden.</translation>
    </message>
    <message>
        <source>This scan is running already, or waits for its turn.</source>
        <translation>Diese Prüfung läuft schon oder wartet, bis sie an der Reihe ist.</translation>
    </message>
    <message>
        <source>The scheduler reports error %1.</source>
        <translation>Der Planer meldet den Fehler %1.</translation>
    </message>
    <message>
        <source>Next run: as soon as its turn comes</source>
        <translation>Nächster Lauf: sobald sie an der Reihe ist</translation>
    </message>
    <message>
        <source>Next run: %1</source>
        <translation>Nächster Lauf: %1</translation>
    </message>
    <message>
        <source>Next run: not before the service of the scheduler runs</source>
        <translation>Nächster Lauf: erst, wenn der Dienst für geplante Prüfungen läuft</translation>
    </message>
    <message>
        <source>Next run: when the computer is first started on a due day</source>
        <translation>Nächster Lauf: beim ersten Hochfahren an einem fälligen Tag</translation>
    </message>
    <message>
        <source>Next run: not known</source>
        <translation>Nächster Lauf: nicht bekannt</translation>
    </message>
    <message>
        <source>Last run: %1, going on</source>
        <translation>Letzter Lauf: %1, dauert noch an</translation>
    </message>
    <message>
        <source>Last run: none yet</source>
        <translation>Letzter Lauf: noch keiner</translation>
    </message>
    <message>
        <source>Last run: %1</source>
        <translation>Letzter Lauf: %1</translation>
    </message>
    <message>
        <source>%1 (%2)</source>
        <comment>the last run and why it was made</comment>
        <translation>%1 (%2)</translation>
    </message>
    <message>
        <source>%1: %2</source>
        <comment>the last run and how it ended</comment>
        <translation>%1: %2</translation>
    </message>
    <message>
        <source>%1. %2</source>
        <comment>how the last run ended, and the system&apos;s words about it</comment>
        <translation>%1. %2</translation>
    </message>
    <message>
        <source>No scheduled scan runs now, because the service of the scheduler does not run. An administrator starts it with: %1</source>
        <translation>Zurzeit läuft keine geplante Prüfung, denn der Dienst dafür läuft nicht. Als Systemverwalter startet man ihn mit: %1</translation>
    </message>
    <message>
        <source>en_GB</source>
        <comment>the language that dates are written in</comment>
        <translation>de_DE</translation>
    </message>
    <message>
        <source>dddd, d MMMM yyyy, HH:mm</source>
        <comment>how a moment is written</comment>
        <translation>dddd, d. MMMM yyyy, HH:mm</translation>
    </message>
    <message>
        <source>late, for a time when it could not run</source>
        <translation>nachgeholt für eine Zeit, zu der sie nicht laufen konnte</translation>
    </message>
    <message>
        <source>after the start of the computer</source>
        <translation>nach dem Hochfahren</translation>
    </message>
    <message>
        <source>a repetition</source>
        <translation>eine Wiederholung</translation>
    </message>
    <message>
        <source>on request</source>
        <translation>auf Wunsch</translation>
    </message>
    <message>
        <source>nothing found</source>
        <translation>nichts gefunden</translation>
    </message>
    <message>
        <source>1 infected file</source>
        <translation>1 infizierte Datei</translation>
    </message>
    <message>
        <source>%1 infected files</source>
        <translation>%1 infizierte Dateien</translation>
    </message>
    <message>
        <source>nothing found, 1 file could not be read</source>
        <translation>nichts gefunden, 1 Datei war nicht lesbar</translation>
    </message>
    <message>
        <source>nothing found, %1 files could not be read</source>
        <translation>nichts gefunden, %1 Dateien waren nicht lesbar</translation>
    </message>
    <message>
        <source>the scanner could not work</source>
        <translation>der Scanner konnte nicht arbeiten</translation>
    </message>
    <message>
        <source>interrupted</source>
        <translation>abgebrochen</translation>
    </message>
    <message>
        <source>ended after 24 hours</source>
        <translation>nach 24 Stunden beendet</translation>
    </message>
    <message>
        <source>not made, for its owner is no longer a user of this computer</source>
        <translation>ausgefallen, denn wem sie gehört, ist kein Benutzer dieses Rechners mehr</translation>
    </message>
    <message>
        <source>not made, for no report could be written</source>
        <translation>ausgefallen, denn es konnte kein Bericht geschrieben werden</translation>
    </message>
    <message>
        <source>result %1</source>
        <translation>Ergebnis %1</translation>
    </message>
</context>
<context>
    <name>SettingsPage</name>
    <message>
        <source>Scanner Settings</source>
        <translation>Scanner-Einstellungen</translation>
    </message>
    <message>
        <source>Advanced Options</source>
        <translation>Erweiterte Optionen</translation>
    </message>
    <message>
        <source>Scan adware and spyware (Alt+D)</source>
        <translation>Adware und Spyware scannen (Alt+D)</translation>
    </message>
    <message>
        <source>Scan Adware/Spyware</source>
        <translation>Adware/Spyware scannen</translation>
    </message>
    <message>
        <source>Scan A&amp;dware/Spyware</source>
        <translation>A&amp;dware/Spyware scannen</translation>
    </message>
    <message>
        <source>Alt+D</source>
        <translation>Alt+D</translation>
    </message>
    <message>
        <source>Scan dumb files (Alt+M)</source>
        <translation>Dateien unbekannter Art scannen (Alt+M)</translation>
    </message>
    <message>
        <source>Dumb Scan</source>
        <translation>Formlos scannen</translation>
    </message>
    <message>
        <source>Du&amp;mb Scan</source>
        <translation>For&amp;mlos scannen</translation>
    </message>
    <message>
        <source>Alt+M</source>
        <translation>Alt+M</translation>
    </message>
    <message>
        <source>Scan archive files (Alt+V)</source>
        <translation>Archivdateien scannen (Alt+V)</translation>
    </message>
    <message>
        <source>Scan Archives</source>
        <translation>Archive scannen</translation>
    </message>
    <message>
        <source>Scan Archi&amp;ves</source>
        <translation>Archi&amp;ve scannen</translation>
    </message>
    <message>
        <source>Alt+V</source>
        <translation>Alt+V</translation>
    </message>
    <message>
        <source>Scan packed files (Alt+N)</source>
        <translation>Gepackte Programme scannen (Alt+N)</translation>
    </message>
    <message>
        <source>Scan Packed</source>
        <translation>Gepackte Programme scannen</translation>
    </message>
    <message>
        <source>Sca&amp;n Packed</source>
        <translation>Gepackte Programme sca&amp;nnen</translation>
    </message>
    <message>
        <source>Alt+N</source>
        <translation>Alt+N</translation>
    </message>
    <message>
        <source>Ac&amp;tion on Virus Found</source>
        <translation>Ak&amp;tion bei Virenfund</translation>
    </message>
    <message>
        <source>Select action on virus found (Alt+T)</source>
        <translation>Aktion bei einem Virenfund auswählen (Alt+T)</translation>
    </message>
    <message>
        <source>Action on Virus Found</source>
        <translation>Aktion bei Virenfund</translation>
    </message>
    <message>
        <source>Repair only</source>
        <translation>Nur reparieren</translation>
    </message>
    <message>
        <source>Repair, delete if unrepairable</source>
        <translation>Reparieren, sonst löschen</translation>
    </message>
    <message>
        <source>Delete</source>
        <translation>Löschen</translation>
    </message>
    <message>
        <source>Report only</source>
        <translation>Nur melden</translation>
    </message>
    <message>
        <source>Prompt</source>
        <translation>Nachfragen</translation>
    </message>
    <message>
        <source>Drop the changes (Alt+C)</source>
        <translation>Änderungen verwerfen (Alt+C)</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
    <message>
        <source>&amp;Cancel</source>
        <translation>Abbre&amp;chen</translation>
    </message>
    <message>
        <source>Alt+C</source>
        <translation>Alt+C</translation>
    </message>
    <message>
        <source>Save scanner settings</source>
        <translation>Scanner-Einstellungen speichern</translation>
    </message>
    <message>
        <source>Apply</source>
        <translation>Anwenden</translation>
    </message>
    <message>
        <source>A&amp;pply</source>
        <translation>Ü&amp;bernehmen</translation>
    </message>
    <message>
        <source>Alt+P</source>
        <translation>Alt+B</translation>
    </message>
    <message>
        <source>Bad or Missing Configuration, or you do not have sufficient privileges</source>
        <translation>Die Konfiguration fehlt oder ist fehlerhaft, oder Ihre Rechte reichen nicht aus</translation>
    </message>
    <message>
        <source>Unable to save options. 
 Close all the application and try again</source>
        <translation>Die Optionen können nicht gespeichert werden. 
 Bitte alle Anwendungen schließen und erneut versuchen</translation>
    </message>
    <message>
        <source>Bad or Missing Configuration</source>
        <translation>Die Konfiguration fehlt oder ist fehlerhaft</translation>
    </message>
</context>
<context>
    <name>UnreadFilesDialog</name>
    <message>
        <source>Files not read</source>
        <translation>Nicht gelesene Dateien</translation>
    </message>
    <message>
        <source>File</source>
        <translation>Datei</translation>
    </message>
    <message>
        <source>Reason</source>
        <translation>Grund</translation>
    </message>
    <message>
        <source>C&amp;opy list</source>
        <translation>Liste k&amp;opieren</translation>
    </message>
    <message>
        <source>Copy the whole list as text (Alt+O)</source>
        <translation>Die ganze Liste als Text kopieren (Alt+O)</translation>
    </message>
    <message>
        <source>&amp;Close</source>
        <translation>S&amp;chließen</translation>
    </message>
    <message>
        <source>Nothing is known about these files: they were not read, or not to their end.</source>
        <translation>Über diese Dateien ist nichts bekannt: Sie wurden nicht oder nicht bis zum Ende gelesen.</translation>
    </message>
    <message>
        <source>The first %1 of %2 are listed.</source>
        <translation>Die ersten %1 von %2 sind aufgelistet.</translation>
    </message>
    <message>
        <source>These files were not read, or not to their end, each for the reason beside it. Whether a virus is in them is not known.</source>
        <translation>Diese Dateien wurden nicht oder nicht bis zum Ende gelesen, jede aus dem Grund daneben. Ob sie einen Virus enthalten, ist nicht bekannt.</translation>
    </message>
</context>
<context>
    <name>UpdateNow</name>
    <message>
        <source>Rapid Update</source>
        <translation>Rapid Update</translation>
    </message>
    <message>
        <source>Rapid Update is already running in automatic mode.</source>
        <translation>Rapid Update läuft bereits automatisch.</translation>
    </message>
    <message>
        <source>Error retrieving updates.</source>
        <translation>Die Aktualisierungen konnten nicht geholt werden.</translation>
    </message>
    <message>
        <source>Corvane Endpoint Protection is successfully updated.</source>
        <translation>Corvane Endpoint Protection wurde erfolgreich aktualisiert.</translation>
    </message>
    <message>
        <source>The version of Corvane Endpoint Protection you have is up-to-date. 
Use Rapid Update regularly to keep your copy updated.</source>
        <translation>Ihre Version von Corvane Endpoint Protection ist auf dem neuesten Stand.
Verwenden Sie Rapid Update regelmäßig, damit das so bleibt.</translation>
    </message>
    <message>
        <source>Update process interrupted by user.</source>
        <translation>Die Aktualisierung wurde vom Benutzer abgebrochen.</translation>
    </message>
    <message>
        <source>Specify valid definition files.</source>
        <translation>Geben Sie gültige Definitionsdateien an.</translation>
    </message>
</context>
<context>
    <name>UpdatePage</name>
    <message>
        <source>Update</source>
        <translation>Update</translation>
    </message>
    <message>
        <source>Update from</source>
        <translation>Updates holen von</translation>
    </message>
    <message>
        <source>Update from the Internet centre (Alt+I)</source>
        <translation>Von der Internetzentrale aktualisieren (Alt+T)</translation>
    </message>
    <message>
        <source>Internet centre</source>
        <translation>Internetzentrale</translation>
    </message>
    <message>
        <source>&amp;Internet centre</source>
        <translation>In&amp;ternetzentrale</translation>
    </message>
    <message>
        <source>Alt+I</source>
        <translation>Alt+T</translation>
    </message>
    <message>
        <source>Set the proxy server (Alt+G)</source>
        <translation>Den Proxyserver einstellen (Alt+G)</translation>
    </message>
    <message>
        <source>Internet settings</source>
        <translation>Internet-Einstellungen</translation>
    </message>
    <message>
        <source>Internet settin&amp;gs...</source>
        <translation>Internet-Einstellun&amp;gen ...</translation>
    </message>
    <message>
        <source>Alt+G</source>
        <translation>Alt+G</translation>
    </message>
    <message>
        <source>Update from the Endpoint Protection Server (Alt+V)</source>
        <translation>Vom Endpoint Protection Server aktualisieren (Alt+V)</translation>
    </message>
    <message>
        <source>Endpoint Protection Server</source>
        <translation>Endpoint Protection Server</translation>
    </message>
    <message>
        <source>Endpoint Protection Ser&amp;ver</source>
        <translation>Endpoint Protection Ser&amp;ver</translation>
    </message>
    <message>
        <source>Alt+V</source>
        <translation>Alt+V</translation>
    </message>
    <message>
        <source>Update from path (Alt+K)</source>
        <translation>Aus einem Ordner aktualisieren (Alt+K)</translation>
    </message>
    <message>
        <source>Update from path</source>
        <translation>Aus einem Ordner aktualisieren</translation>
    </message>
    <message>
        <source>Alt+K</source>
        <translation>Alt+K</translation>
    </message>
    <message>
        <source>Folder that updates are taken from</source>
        <translation>Ordner, aus dem Updates geholt werden</translation>
    </message>
    <message>
        <source>Folder with updates</source>
        <translation>Ordner mit Updates</translation>
    </message>
    <message>
        <source>Choose the folder that updates are taken from (Alt+D)</source>
        <translation>Den Ordner wählen, aus dem Updates geholt werden (Alt+D)</translation>
    </message>
    <message>
        <source>Choose the folder with updates</source>
        <translation>Ordner mit Updates wählen</translation>
    </message>
    <message>
        <source>Fol&amp;der...</source>
        <translation>Or&amp;dner ...</translation>
    </message>
    <message>
        <source>Alt+D</source>
        <translation>Alt+D</translation>
    </message>
    <message>
        <source>Update the virus database now (Alt+W)</source>
        <translation>Die Virendatenbank jetzt aktualisieren (Alt+Z)</translation>
    </message>
    <message>
        <source>Update now</source>
        <translation>Jetzt aktualisieren</translation>
    </message>
    <message>
        <source>Update no&amp;w</source>
        <translation>Jet&amp;zt aktualisieren</translation>
    </message>
    <message>
        <source>Alt+W</source>
        <translation>Alt+Z</translation>
    </message>
    <message>
        <source>Keep backup of update files (Alt+B)</source>
        <translation>Sicherung der Updatedateien behalten (Alt+B)</translation>
    </message>
    <message>
        <source>Keep a backup of update files</source>
        <translation>Sicherung der Updatedateien behalten</translation>
    </message>
    <message>
        <source>Keep a &amp;backup of update files</source>
        <translation>Sicherung der Updatedateien &amp;behalten</translation>
    </message>
    <message>
        <source>Alt+B</source>
        <translation>Alt+B</translation>
    </message>
    <message>
        <source>Folder that update files are kept in</source>
        <translation>Ordner, in dem Updatedateien behalten werden</translation>
    </message>
    <message>
        <source>Backup folder</source>
        <translation>Sicherungsordner</translation>
    </message>
    <message>
        <source>Choose the folder that update files are kept in (Alt+F)</source>
        <translation>Den Ordner wählen, in dem Updatedateien behalten werden (Alt+N)</translation>
    </message>
    <message>
        <source>Choose the backup folder</source>
        <translation>Sicherungsordner wählen</translation>
    </message>
    <message>
        <source>&amp;Folder...</source>
        <translation>Ord&amp;ner ...</translation>
    </message>
    <message>
        <source>Alt+F</source>
        <translation>Alt+N</translation>
    </message>
    <message>
        <source>Enable automatic update (Alt+E)</source>
        <translation>Automatische Updates einschalten (Alt+A)</translation>
    </message>
    <message>
        <source>Enable automatic updates</source>
        <translation>Automatische Updates einschalten</translation>
    </message>
    <message>
        <source>&amp;Enable automatic updates</source>
        <translation>&amp;Automatische Updates einschalten</translation>
    </message>
    <message>
        <source>Alt+E</source>
        <translation>Alt+A</translation>
    </message>
    <message>
        <source>Drop the changes (Alt+C)</source>
        <translation>Änderungen verwerfen (Alt+C)</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
    <message>
        <source>&amp;Cancel</source>
        <translation>Abbre&amp;chen</translation>
    </message>
    <message>
        <source>Alt+C</source>
        <translation>Alt+C</translation>
    </message>
    <message>
        <source>Save the update settings (Alt+P)</source>
        <translation>Die Update-Einstellungen speichern (Alt+M)</translation>
    </message>
    <message>
        <source>Apply</source>
        <translation>Übernehmen</translation>
    </message>
    <message>
        <source>A&amp;pply</source>
        <translation>Überneh&amp;men</translation>
    </message>
    <message>
        <source>Alt+P</source>
        <translation>Alt+M</translation>
    </message>
    <message>
        <source>You do not have sufficient privileges.</source>
        <translation>Sie haben nicht die nötigen Rechte.</translation>
    </message>
    <message>
        <source>Bad or Missing Configuration, or you do not have sufficient privileges</source>
        <translation>Die Konfiguration fehlt oder ist fehlerhaft, oder Ihre Rechte reichen nicht aus</translation>
    </message>
    <message>
        <source>Bad or Missing Configuration.</source>
        <translation>Die Konfiguration fehlt oder ist beschädigt.</translation>
    </message>
    <message>
        <source>Please provide the path.</source>
        <translation>Bitte geben Sie den Pfad an.</translation>
    </message>
    <message>
        <source>Please Provide the valid path.</source>
        <translation>Bitte geben Sie einen gültigen Pfad an.</translation>
    </message>
    <message>
        <source>Provide the path to store update backup.</source>
        <translation>Geben Sie den Pfad für die Sicherung der Updates an.</translation>
    </message>
    <message>
        <source>Please provide the valid path.</source>
        <translation>Bitte geben Sie einen gültigen Pfad an.</translation>
    </message>
    <message>
        <source>The name of the folder is longer than 255 bytes. Nothing was saved.</source>
        <translation>Der Name des Ordners ist länger als 255 Byte. Es wurde nichts gespeichert.</translation>
    </message>
    <message>
        <source>get existing directory</source>
        <translation>Vorhandenen Ordner wählen</translation>
    </message>
    <message>
        <source>The folder
%1
cannot be reached by this name. Rename it, or choose another one.</source>
        <translation>Der Ordner
%1
ist unter diesem Namen nicht erreichbar. Benennen Sie ihn um, oder wählen Sie einen anderen.</translation>
    </message>
</context>
<context>
    <name>dlgDir</name>
    <message>
        <source>These folders cannot be scanned at a scheduled time because their paths are longer than 255 bytes, contain a semicolon or are not valid UTF-8. They are left out:</source>
        <translation>Diese Ordner können nicht nach Plan gescannt werden, weil ihre Pfade länger als 255 Byte sind, ein Semikolon enthalten oder kein gültiges UTF-8 sind. Sie werden ausgelassen:</translation>
    </message>
    <message>
        <source>&amp;Add</source>
        <translation>&amp;Hinzufügen</translation>
    </message>
    <message>
        <source>Add the ticked folders (Alt+A)</source>
        <translation>Die angekreuzten Ordner hinzufügen (Alt+H)</translation>
    </message>
    <message>
        <source>Add the ticked folders</source>
        <translation>Die angekreuzten Ordner hinzufügen</translation>
    </message>
</context>
<context>
    <name>dlgHelp</name>
    <message>
        <source>Page</source>
        <translation>Seite</translation>
    </message>
    <message>
        <source>The file of this page; type another and press Return</source>
        <translation>Die Datei dieser Seite; geben Sie eine andere ein und drücken Sie die Eingabetaste</translation>
    </message>
    <message>
        <source>Help page</source>
        <translation>Hilfeseite</translation>
    </message>
    <message>
        <source>The page; Tab goes from link to link, Return follows one</source>
        <translation>Die Seite; Tab führt von Verweis zu Verweis, die Eingabetaste folgt einem</translation>
    </message>
    <message>
        <source>&amp;File</source>
        <translation>&amp;Datei</translation>
    </message>
    <message>
        <source>&amp;Go</source>
        <translation>&amp;Gehe zu</translation>
    </message>
    <message>
        <source>Hi&amp;story</source>
        <translation>&amp;Verlauf</translation>
    </message>
    <message>
        <source>&amp;Bookmarks</source>
        <translation>&amp;Lesezeichen</translation>
    </message>
    <message>
        <source>&amp;Help</source>
        <translation>&amp;Hilfe</translation>
    </message>
    <message>
        <source>Tool bar</source>
        <translation>Werkzeugleiste</translation>
    </message>
    <message>
        <source>&amp;New Window</source>
        <translation>&amp;Neues Fenster</translation>
    </message>
    <message>
        <source>One more viewer on this page (Ctrl+N)</source>
        <translation>Diese Seite in einem weiteren Fenster (Strg+N)</translation>
    </message>
    <message>
        <source>Ctrl+N</source>
        <translation>Ctrl+N</translation>
    </message>
    <message>
        <source>&amp;Open...</source>
        <translation>Ö&amp;ffnen ...</translation>
    </message>
    <message>
        <source>Show a file (Ctrl+O)</source>
        <translation>Eine Datei zeigen (Strg+O)</translation>
    </message>
    <message>
        <source>Ctrl+O</source>
        <translation>Ctrl+O</translation>
    </message>
    <message>
        <source>&amp;Print...</source>
        <translation>&amp;Drucken ...</translation>
    </message>
    <message>
        <source>Print this page (Ctrl+P)</source>
        <translation>Diese Seite drucken (Strg+P)</translation>
    </message>
    <message>
        <source>Ctrl+P</source>
        <translation>Ctrl+P</translation>
    </message>
    <message>
        <source>&amp;Close</source>
        <translation>&amp;Schließen</translation>
    </message>
    <message>
        <source>Close the viewer (Ctrl+W)</source>
        <translation>Das Fenster schließen (Strg+W)</translation>
    </message>
    <message>
        <source>Ctrl+W</source>
        <translation>Ctrl+W</translation>
    </message>
    <message>
        <source>&amp;Back</source>
        <translation>&amp;Zurück</translation>
    </message>
    <message>
        <source>The page before (Alt+Left)</source>
        <translation>Die Seite davor (Alt+Links)</translation>
    </message>
    <message>
        <source>Alt+Left</source>
        <translation>Alt+Left</translation>
    </message>
    <message>
        <source>&amp;Forward</source>
        <translation>&amp;Vor</translation>
    </message>
    <message>
        <source>The page after (Alt+Right)</source>
        <translation>Die Seite danach (Alt+Rechts)</translation>
    </message>
    <message>
        <source>Alt+Right</source>
        <translation>Alt+Right</translation>
    </message>
    <message>
        <source>&amp;Home</source>
        <translation>&amp;Startseite</translation>
    </message>
    <message>
        <source>The first page of the help (Alt+Home)</source>
        <translation>Die erste Seite der Hilfe (Alt+Pos1)</translation>
    </message>
    <message>
        <source>Alt+Home</source>
        <translation>Alt+Home</translation>
    </message>
    <message>
        <source>&amp;Add Bookmark</source>
        <translation>&amp;Lesezeichen setzen</translation>
    </message>
    <message>
        <source>Add this page to the bookmarks (Ctrl+D)</source>
        <translation>Für diese Seite ein Lesezeichen setzen (Strg+D)</translation>
    </message>
    <message>
        <source>Ctrl+D</source>
        <translation>Ctrl+D</translation>
    </message>
    <message>
        <source>&amp;About the Help Viewer</source>
        <translation>Ü&amp;ber die Hilfe</translation>
    </message>
    <message>
        <source>What this window is</source>
        <translation>Was dieses Fenster ist</translation>
    </message>
    <message>
        <source>%1 is not opened in here. Copy the address and open it in your browser.</source>
        <translation>%1 wird hier nicht geöffnet. Kopieren Sie die Adresse und öffnen Sie sie in Ihrem Browser.</translation>
    </message>
    <message>
        <source>%1 lies outside the folder of this page. Open it with Ctrl+O.</source>
        <translation>%1 liegt außerhalb des Ordners dieser Seite. Öffnen Sie die Datei mit Strg+O.</translation>
    </message>
    <message>
        <source>Corvane Main help viewer</source>
        <translation>Hilfe zu Corvane</translation>
    </message>
    <message>
        <source>Open page</source>
        <translation>Seite öffnen</translation>
    </message>
    <message>
        <source>Pages (*.htm *.html)</source>
        <translation>Seiten (*.htm *.html)</translation>
    </message>
    <message>
        <source>All Files (*)</source>
        <translation>Alle Dateien (*)</translation>
    </message>
    <message>
        <source>This page is among the bookmarks already.</source>
        <translation>Diese Seite ist schon unter den Lesezeichen.</translation>
    </message>
    <message>
        <source>The page is among the bookmarks now.</source>
        <translation>Die Seite ist jetzt unter den Lesezeichen.</translation>
    </message>
    <message>
        <source>The bookmark goes away with this window: the file of bookmarks cannot be written.</source>
        <translation>Das Lesezeichen vergeht mit diesem Fenster: Die Datei der Lesezeichen kann nicht geschrieben werden.</translation>
    </message>
    <message>
        <source>Unable to print the page.
Check the printer, or the room for the file that is printed to.</source>
        <translation>Die Seite kann nicht gedruckt werden.
Prüfen Sie den Drucker oder den Platz für die Datei, in die gedruckt wird.</translation>
    </message>
    <message>
        <source>About the help viewer</source>
        <translation>Über die Hilfe</translation>
    </message>
    <message>
        <source>The help viewer of Corvane Endpoint Protection.

It shows pages of this machine and loads nothing from the network.</source>
        <translation>Die Hilfe zu Corvane Endpoint Protection.

Sie zeigt Seiten dieses Rechners und lädt nichts aus dem Netz.</translation>
    </message>
    <message>
        <source>&amp;Page:</source>
        <translation>&amp;Seite:</translation>
    </message>
</context>
<context>
    <name>dlgIntSet</name>
    <message>
        <source>Internet Settings</source>
        <translation>Internet-Einstellungen</translation>
    </message>
    <message>
        <source>Change these settings only in case if your computer is connected to a SOCKS5 or Firewall protected Network or if you have any trouble while downloading from Corvane Internet Centre.</source>
        <translation>Ändern Sie diese Einstellungen nur, wenn Ihr Rechner mit einem durch SOCKS5 oder eine Firewall geschützten Netz verbunden ist oder das Herunterladen von der Corvane-Internetzentrale Schwierigkeiten macht.</translation>
    </message>
    <message>
        <source>Proxy settings</source>
        <translation>Proxy-Einstellungen</translation>
    </message>
    <message>
        <source>Use proxy server (Alt+U)</source>
        <translation>Proxyserver benutzen (Alt+U)</translation>
    </message>
    <message>
        <source>Use Proxy</source>
        <translation>Proxy benutzen</translation>
    </message>
    <message>
        <source>&amp;Use Proxy</source>
        <translation>Proxy ben&amp;utzen</translation>
    </message>
    <message>
        <source>Alt+U</source>
        <translation>Alt+U</translation>
    </message>
    <message>
        <source>Proxy server address (Alt+S)</source>
        <translation>Adresse des Proxyservers (Alt+S)</translation>
    </message>
    <message>
        <source>&amp;Server</source>
        <translation>&amp;Server</translation>
    </message>
    <message>
        <source>Server</source>
        <translation>Server</translation>
    </message>
    <message>
        <source>proxy.example.org or socks5://proxy.example.org</source>
        <translation>proxy.example.org oder socks5://proxy.example.org</translation>
    </message>
    <message>
        <source>Port (Alt+P)</source>
        <translation>Port (Alt+P)</translation>
    </message>
    <message>
        <source>&amp;Port</source>
        <translation>&amp;Port</translation>
    </message>
    <message>
        <source>Port</source>
        <translation>Port</translation>
    </message>
    <message>
        <source>Enable authentication (Alt+Q)</source>
        <translation>Anmeldung einschalten (Alt+N)</translation>
    </message>
    <message>
        <source>Authentication required</source>
        <translation>Anmeldung nötig</translation>
    </message>
    <message>
        <source>Authentication re&amp;quired</source>
        <translation>Anmeldung &amp;nötig</translation>
    </message>
    <message>
        <source>Alt+Q</source>
        <translation>Alt+N</translation>
    </message>
    <message>
        <source>User name (Alt+I)</source>
        <translation>Benutzername (Alt+I)</translation>
    </message>
    <message>
        <source>User&amp;ID</source>
        <translation>Benutzer-&amp;ID</translation>
    </message>
    <message>
        <source>UserID</source>
        <translation>Benutzer-ID</translation>
    </message>
    <message>
        <source>Password (Alt+W)</source>
        <translation>Passwort (Alt+W)</translation>
    </message>
    <message>
        <source>Pass&amp;word</source>
        <translation>Pass&amp;wort</translation>
    </message>
    <message>
        <source>Password</source>
        <translation>Passwort</translation>
    </message>
    <message>
        <source>Test the connection (Alt+T)</source>
        <translation>Die Verbindung testen (Alt+T)</translation>
    </message>
    <message>
        <source>Test</source>
        <translation>Testen</translation>
    </message>
    <message>
        <source>&amp;Test</source>
        <translation>&amp;Testen</translation>
    </message>
    <message>
        <source>Alt+T</source>
        <translation>Alt+T</translation>
    </message>
    <message>
        <source>Ok (Alt+K)</source>
        <translation>Ok (Alt+K)</translation>
    </message>
    <message>
        <source>Ok</source>
        <translation>Ok</translation>
    </message>
    <message>
        <source>O&amp;k</source>
        <translation>O&amp;k</translation>
    </message>
    <message>
        <source>Alt+K</source>
        <translation>Alt+K</translation>
    </message>
    <message>
        <source>Cancel (Alt+C)</source>
        <translation>Abbrechen (Alt+C)</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
    <message>
        <source>&amp;Cancel</source>
        <translation>Abbre&amp;chen</translation>
    </message>
    <message>
        <source>Alt+C</source>
        <translation>Alt+C</translation>
    </message>
    <message>
        <source>Internet settings</source>
        <translation>Internet-Einstellungen</translation>
    </message>
    <message>
        <source>Bad or Missing Configuration.</source>
        <translation>Die Konfiguration fehlt oder ist beschädigt.</translation>
    </message>
    <message>
        <source>The connection is being tested...</source>
        <translation>Die Verbindung wird getestet ...</translation>
    </message>
    <message>
        <source>Provide the valid proxy server configuration</source>
        <translation>Geben Sie eine gültige Proxy-Konfiguration an</translation>
    </message>
    <message>
        <source>For computers that reach the Internet only through a proxy server. Whoever runs your network knows its address. Test tries the connection and stores nothing.</source>
        <translation>Für Rechner, die das Internet nur über einen Proxyserver erreichen. Wer Ihr Netz betreut, kennt seine Adresse. Der Test probiert die Verbindung aus und speichert nichts.</translation>
    </message>
    <message>
        <source>The name or the address of the server. For a SOCKS5 server write socks5:// before it.</source>
        <translation>Der Name oder die Adresse des Servers. Für einen SOCKS5-Server schreiben Sie socks5:// davor.</translation>
    </message>
    <message>
        <source>It is stored as it is, where every user of this computer can read it. Use one that opens nothing else.</source>
        <translation>Es wird so gespeichert, wie es ist, und jeder Benutzer dieses Rechners kann es lesen. Nehmen Sie eines, das sonst nichts öffnet.</translation>
    </message>
</context>
<context>
    <name>dlgMain</name>
    <message>
        <source>Corvane</source>
        <translation>Corvane</translation>
    </message>
    <message>
        <source>Scan (Alt+S)</source>
        <translation>Scannen (Alt+S)</translation>
    </message>
    <message>
        <source>Scan</source>
        <translation>Scannen</translation>
    </message>
    <message>
        <source>&amp;Scan</source>
        <translation>&amp;Scannen</translation>
    </message>
    <message>
        <source>Alt+S</source>
        <translation>Alt+S</translation>
    </message>
    <message>
        <source>Configure Corvane (Alt+O)</source>
        <translation>Corvane einstellen (Alt+O)</translation>
    </message>
    <message>
        <source>Options</source>
        <translation>Optionen</translation>
    </message>
    <message>
        <source>&amp;Options</source>
        <translation>&amp;Optionen</translation>
    </message>
    <message>
        <source>Alt+O</source>
        <translation>Alt+O</translation>
    </message>
    <message>
        <source>View Reports of Corvane activities (Alt+R)</source>
        <translation>Berichte über die Tätigkeit von Corvane ansehen (Alt+R)</translation>
    </message>
    <message>
        <source>Reports</source>
        <translation>Berichte</translation>
    </message>
    <message>
        <source>&amp;Reports</source>
        <translation>Be&amp;richte</translation>
    </message>
    <message>
        <source>Alt+R</source>
        <translation>Alt+R</translation>
    </message>
    <message>
        <source>Update Corvane online (Alt+U)</source>
        <translation>Corvane online aktualisieren (Alt+U)</translation>
    </message>
    <message>
        <source>Update</source>
        <translation>Aktualisieren</translation>
    </message>
    <message>
        <source>&amp;Update</source>
        <translation>Akt&amp;ualisieren</translation>
    </message>
    <message>
        <source>Alt+U</source>
        <translation>Alt+U</translation>
    </message>
    <message>
        <source>Configure Schedule Scan (Alt+L)</source>
        <translation>Geplante Scans einstellen (Alt+L)</translation>
    </message>
    <message>
        <source>Schedule</source>
        <translation>Planen</translation>
    </message>
    <message>
        <source>Schedu&amp;le</source>
        <translation>P&amp;lanen</translation>
    </message>
    <message>
        <source>Alt+L</source>
        <translation>Alt+L</translation>
    </message>
    <message>
        <source>About Corvane (Alt+A)</source>
        <translation>Info über Corvane (Alt+I)</translation>
    </message>
    <message>
        <source>About</source>
        <translation>Über Corvane</translation>
    </message>
    <message>
        <source>&amp;About</source>
        <translation>&amp;Info</translation>
    </message>
    <message>
        <source>Alt+A</source>
        <translation>Alt+I</translation>
    </message>
    <message>
        <source>Display Corvane help (Alt+H)</source>
        <translation>Hilfe zu Corvane anzeigen (Alt+H)</translation>
    </message>
    <message>
        <source>Help</source>
        <translation>Hilfe</translation>
    </message>
    <message>
        <source>&amp;Help</source>
        <translation>&amp;Hilfe</translation>
    </message>
    <message>
        <source>Alt+H</source>
        <translation>Alt+H</translation>
    </message>
    <message>
        <source>Exit Corvane scanner (Alt+X)</source>
        <translation>Corvane beenden (Alt+E)</translation>
    </message>
    <message>
        <source>Exit</source>
        <translation>Beenden</translation>
    </message>
    <message>
        <source>E&amp;xit</source>
        <translation>B&amp;eenden</translation>
    </message>
    <message>
        <source>Alt+X</source>
        <translation>Alt+E</translation>
    </message>
    <message>
        <source>Corvane Settings</source>
        <translation>Corvane-Einstellungen</translation>
    </message>
    <message>
        <source>Do you want to save the changes?</source>
        <translation>Sollen die Änderungen gespeichert werden?</translation>
    </message>
    <message>
        <source>Loading... Scan Option Settings</source>
        <translation>Laden … Scan-Einstellungen</translation>
    </message>
    <message>
        <source>Loading... Update Module</source>
        <translation>Laden … Aktualisierung</translation>
    </message>
    <message>
        <source>Loading...</source>
        <translation>Laden …</translation>
    </message>
    <message>
        <source>Unable to load Scan API Library</source>
        <translation>Die Bibliothek des Virenscanners kann nicht geladen werden</translation>
    </message>
    <message>
        <source>API Library loaded successfully</source>
        <translation>Bibliothek erfolgreich geladen</translation>
    </message>
    <message>
        <source>Unable to open Report File. 
 Close all the application and try again</source>
        <translation>Die Berichtsdatei kann nicht geöffnet werden. 
 Bitte alle Anwendungen schließen und erneut versuchen</translation>
    </message>
    <message>
        <source>Unable to unload Scan API Library</source>
        <translation>Die Bibliothek des Virenscanners kann nicht entladen werden</translation>
    </message>
    <message>
        <source>Corvane Main help viewer</source>
        <translation>Hilfe zu Corvane</translation>
    </message>
</context>
<context>
    <name>dlgReport</name>
    <message>
        <source>Corvane Scan Report</source>
        <translation>Corvane-Prüfbericht</translation>
    </message>
    <message>
        <source>Report</source>
        <translation>Bericht</translation>
    </message>
    <message>
        <source>The report; find in it with Ctrl+F</source>
        <translation>Der Bericht; mit Strg+F darin suchen</translation>
    </message>
    <message>
        <source>&lt;&lt; &amp;Prev</source>
        <translation>&lt;&lt; Zurück</translation>
    </message>
    <message>
        <source>Alt+P</source>
        <translation>Alt+P</translation>
    </message>
    <message>
        <source>Previous report (Alt+P)</source>
        <translation>Voriger Bericht (Alt+P)</translation>
    </message>
    <message>
        <source>&amp;Next &gt;&gt;</source>
        <translation>Weiter &gt;&gt;</translation>
    </message>
    <message>
        <source>Alt+N</source>
        <translation>Alt+N</translation>
    </message>
    <message>
        <source>Next report (Alt+N)</source>
        <translation>Nächster Bericht (Alt+N)</translation>
    </message>
    <message>
        <source>P&amp;rint</source>
        <translation>D&amp;rucken</translation>
    </message>
    <message>
        <source>Alt+R</source>
        <translation>Alt+R</translation>
    </message>
    <message>
        <source>Print report (Alt+R)</source>
        <translation>Bericht drucken (Alt+R)</translation>
    </message>
    <message>
        <source>Save &amp;As</source>
        <translation>Speichern &amp;als</translation>
    </message>
    <message>
        <source>Alt+A</source>
        <translation>Alt+A</translation>
    </message>
    <message>
        <source>Save As report (Alt+A)</source>
        <translation>Bericht speichern als (Alt+A)</translation>
    </message>
    <message>
        <source>&amp;Close</source>
        <translation>S&amp;chließen</translation>
    </message>
    <message>
        <source>Alt+C</source>
        <translation>Alt+C</translation>
    </message>
    <message>
        <source>Close (Alt+C)</source>
        <translation>Schließen (Alt+C)</translation>
    </message>
    <message>
        <source>Unable to open report file</source>
        <translation>Die Berichtsdatei kann nicht geöffnet werden</translation>
    </message>
    <message>
        <source>Save As</source>
        <translation>Speichern als</translation>
    </message>
    <message>
        <source>All Files (*)</source>
        <translation>Alle Dateien (*)</translation>
    </message>
    <message>
        <source>The File &apos; %1 &apos; already exists.
Do you want to replace the existing file?</source>
        <translation>Die Datei &apos; %1 &apos; ist bereits vorhanden.
Möchten Sie die vorhandene Datei ersetzen?</translation>
    </message>
    <message>
        <source>Unable to save the report as &apos; %1 &apos;.
%2</source>
        <translation>Der Bericht kann nicht als &apos; %1 &apos; gespeichert werden.
%2</translation>
    </message>
    <message>
        <source>Previous report</source>
        <translation>Voriger Bericht</translation>
    </message>
    <message>
        <source>Next report</source>
        <translation>Nächster Bericht</translation>
    </message>
    <message>
        <source>Print report</source>
        <translation>Bericht drucken</translation>
    </message>
    <message>
        <source>Save As report</source>
        <translation>Bericht speichern als</translation>
    </message>
    <message>
        <source>Close</source>
        <translation>Schließen</translation>
    </message>
    <message>
        <source>Printing the report ...</source>
        <translation>Der Bericht wird gedruckt ...</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
    <message>
        <source>Unable to print the report.
Check the printer, or the room for the file that is printed to.</source>
        <translation>Der Bericht konnte nicht gedruckt werden.
Prüfen Sie den Drucker oder den Platz für die Datei, in die gedruckt wird.</translation>
    </message>
    <message>
        <source>It is not a file that can hold a text.</source>
        <translation>Das ist keine Datei, die einen Text aufnehmen kann.</translation>
    </message>
    <message>
        <source>What the file held before is lost.</source>
        <translation>Der bisherige Inhalt der Datei ist verloren.</translation>
    </message>
    <message>
        <source>The report as it was written. Ctrl+F finds a text in it. Prev and Next show the reports before and after it in the list.</source>
        <translation>Der Bericht, wie er geschrieben wurde. Mit Strg+F wird darin gesucht. Die beiden ersten Schaltflächen zeigen die Berichte davor und danach in der Liste.</translation>
    </message>
</context>
<context>
    <name>dlgScnPrgrs</name>
    <message>
        <source>&amp;Not read: %1...</source>
        <translation>&amp;Nicht gelesen: %1 …</translation>
    </message>
    <message>
        <source>List the files that were not read (Alt+N)</source>
        <translation>Die nicht gelesenen Dateien auflisten (Alt+N)</translation>
    </message>
    <message>
        <source>Corvane Scanner</source>
        <translation>Corvane-Scanner</translation>
    </message>
    <message>
        <source>Scanning...</source>
        <translation>Scan läuft …</translation>
    </message>
    <message>
        <source>Current file</source>
        <translation>Aktuelle Datei</translation>
    </message>
    <message>
        <source>Scan progress</source>
        <translation>Fortschritt des Scans</translation>
    </message>
    <message>
        <source>Files</source>
        <translation>Dateien</translation>
    </message>
    <message>
        <source>Scanned</source>
        <translation>Gescannt</translation>
    </message>
    <message>
        <source>0</source>
        <translation>0</translation>
    </message>
    <message>
        <source>Infected</source>
        <translation>Infiziert</translation>
    </message>
    <message>
        <source>Action</source>
        <translation>Aktion</translation>
    </message>
    <message>
        <source>Repaired</source>
        <translation>Repariert</translation>
    </message>
    <message>
        <source>Deleted</source>
        <translation>Gelöscht</translation>
    </message>
    <message>
        <source>Skipped</source>
        <translation>Übergangen</translation>
    </message>
    <message>
        <source>Last Infected file</source>
        <translation>Letzte infizierte Datei</translation>
    </message>
    <message>
        <source>Last Virus Found</source>
        <translation>Letzter gefundener Virus</translation>
    </message>
    <message>
        <source>Stop &amp;Scan</source>
        <translation>&amp;Scan anhalten</translation>
    </message>
    <message>
        <source>Stop scan (Alt+S)</source>
        <translation>Scan anhalten (Alt+S)</translation>
    </message>
    <message>
        <source>View &amp;Report</source>
        <translation>Be&amp;richt ansehen</translation>
    </message>
    <message>
        <source>View report (Alt+R)</source>
        <translation>Bericht ansehen (Alt+R)</translation>
    </message>
    <message>
        <source>&amp;Close</source>
        <translation>S&amp;chließen</translation>
    </message>
    <message>
        <source>Cancel (Alt+C)</source>
        <translation>Abbrechen (Alt+C)</translation>
    </message>
    <message>
        <source>Scanning completed successfully</source>
        <translation>Scan erfolgreich abgeschlossen</translation>
    </message>
    <message>
        <source>Corvane Scan</source>
        <translation>Corvane-Scan</translation>
    </message>
    <message>
        <source>Do you want to stop scan?</source>
        <translation>Soll der Scan angehalten werden?</translation>
    </message>
    <message>
        <source>What the scan is at and what it has found so far. Stop Scan asks first. At the end, View Report shows all that was found and done.</source>
        <translation>Wobei der Scan gerade ist und was er bisher gefunden hat. Das Beenden fragt vorher nach. Am Ende zeigt der Bericht alles, was gefunden und getan wurde.</translation>
    </message>
</context>
<context>
    <name>dlgUpdate</name>
    <message>
        <source>Rapid Update</source>
        <translation>Rapid Update</translation>
    </message>
    <message>
        <source>Retrieving updates</source>
        <translation>Aktualisierungen werden geholt</translation>
    </message>
    <message>
        <source>Please wait while Rapid Update retrieves latest updates from Corvane Internet centre.</source>
        <translation>Bitte warten Sie, während Rapid Update die neuesten Aktualisierungen vom Corvane-Internetzentrum holt.</translation>
    </message>
    <message>
        <source>&amp;Stop</source>
        <translation>&amp;Stopp</translation>
    </message>
    <message>
        <source>Stop rapid update (Alt+S)</source>
        <translation>Rapid Update anhalten (Alt+S)</translation>
    </message>
    <message>
        <source>Connecting to Corvane Internet Centre</source>
        <translation>Verbindung zum Corvane-Internetzentrum wird hergestellt</translation>
    </message>
    <message>
        <source>Downloading update files</source>
        <translation>Aktualisierungsdateien werden geladen</translation>
    </message>
    <message>
        <source>Downloding index files</source>
        <translation>Indexdateien werden geladen</translation>
    </message>
    <message>
        <source>Dat files Processing errors</source>
        <translation>Fehler beim Verarbeiten der Definitionsdateien</translation>
    </message>
    <message>
        <source>Downloading Dat files.</source>
        <translation>Definitionsdateien werden geladen.</translation>
    </message>
    <message>
        <source>Updating Corvane Engine</source>
        <translation>Der Corvane-Scanner wird aktualisiert</translation>
    </message>
    <message>
        <source>New virus definitions are being loaded. Until they are switched to, Stop ends the update, and the old ones stay in use.</source>
        <translation>Neue Virendefinitionen werden geladen. Bis auf sie umgeschaltet wird, kann das Update beendet werden, und die alten bleiben in Gebrauch.</translation>
    </message>
</context>
<context>
    <name>dlgVirFnd</name>
    <message>
        <source>Virus found!</source>
        <translation>Virus gefunden!</translation>
    </message>
    <message>
        <source>Virus detected</source>
        <translation>Virus erkannt</translation>
    </message>
    <message>
        <source>File name</source>
        <translation>Dateiname</translation>
    </message>
    <message>
        <source>Virus name</source>
        <translation>Virusname</translation>
    </message>
    <message>
        <source>Acti&amp;on</source>
        <translation>Akti&amp;on</translation>
    </message>
    <message>
        <source>Action on virus found (Alt+O)</source>
        <translation>Aktion bei Virenfund (Alt+O)</translation>
    </message>
    <message>
        <source>Action</source>
        <translation>Aktion</translation>
    </message>
    <message>
        <source>Repair only</source>
        <translation>Nur reparieren</translation>
    </message>
    <message>
        <source>Repair, delete if unrepairable</source>
        <translation>Reparieren, sonst löschen</translation>
    </message>
    <message>
        <source>Delete</source>
        <translation>Löschen</translation>
    </message>
    <message>
        <source>Skip</source>
        <translation>Übergehen</translation>
    </message>
    <message>
        <source>&amp;Apply action to all </source>
        <translation>Auf &amp;alle anwenden </translation>
    </message>
    <message>
        <source>Apply action to all</source>
        <translation>Auf alle anwenden</translation>
    </message>
    <message>
        <source>O&amp;k</source>
        <translation>O&amp;k</translation>
    </message>
    <message>
        <source>Ok (Alt+K)</source>
        <translation>Ok (Alt+K)</translation>
    </message>
    <message>
        <source>&amp;Cancel</source>
        <translation>Abbre&amp;chen</translation>
    </message>
    <message>
        <source>Cancel (Alt+C)</source>
        <translation>Abbrechen (Alt+C)</translation>
    </message>
    <message>
        <source>A virus was found in this file, and the scan waits for you. Cancel leaves the file and asks whether the scan is to stop.</source>
        <translation>In dieser Datei wurde ein Virus gefunden, und der Scan wartet auf Sie. Mit „Abbrechen“ bleibt die Datei, und Sie werden gefragt, ob der Scan enden soll.</translation>
    </message>
    <message>
        <source>Delete removes the file and keeps a copy. Skip leaves the file where it is. Files cannot be repaired: Repair only leaves the file, too.</source>
        <translation>Beim Löschen wird die Datei entfernt und eine Kopie aufgehoben. Beim Übergehen bleibt die Datei, wo sie ist. Dateien können nicht repariert werden: Wer nur reparieren lässt, behält die Datei auch.</translation>
    </message>
    <message>
        <source>When this is ticked, your answer holds for every further file of this scan, and you are not asked again.</source>
        <translation>Ist dies angehakt, so gilt Ihre Antwort für jede weitere Datei dieses Scans, und Sie werden nicht mehr gefragt.</translation>
    </message>
</context>
<context>
    <name>dlgschedulescan</name>
    <message>
        <source>Schedule Scan</source>
        <translation>Geplante Prüfung</translation>
    </message>
    <message>
        <source>Configure Schedule Scan</source>
        <translation>Geplante Prüfung einrichten</translation>
    </message>
    <message>
        <source>This wizard help you to scan your preferred files and folders on your computer at the schedule time.</source>
        <translation>Dieser Assistent hilft Ihnen, Dateien und Ordner Ihres Rechners zu einer geplanten Zeit zu prüfen.</translation>
    </message>
    <message>
        <source>Scan Name:</source>
        <translation>Name der Prüfung:</translation>
    </message>
    <message>
        <source>The name of the scheduled scan</source>
        <translation>Der Name der geplanten Prüfung</translation>
    </message>
    <message>
        <source>Scan Name</source>
        <translation>Name der Prüfung</translation>
    </message>
    <message>
        <source>The files and folders that are scanned</source>
        <translation>Die Dateien und Ordner, die gescannt werden</translation>
    </message>
    <message>
        <source>Files and folders to scan</source>
        <translation>Zu scannende Dateien und Ordner</translation>
    </message>
    <message>
        <source>Add folders to scan (Alt+A)</source>
        <translation>Ordner zum Scannen hinzufügen (Alt+H)</translation>
    </message>
    <message>
        <source>Add folders</source>
        <translation>Ordner hinzufügen</translation>
    </message>
    <message>
        <source>&amp;Add Folders</source>
        <translation>Ordner &amp;hinzufügen</translation>
    </message>
    <message>
        <source>Remove the selected folder (Alt+R)</source>
        <translation>Den ausgewählten Ordner entfernen (Alt+E)</translation>
    </message>
    <message>
        <source>Remove the selected folder</source>
        <translation>Den ausgewählten Ordner entfernen</translation>
    </message>
    <message>
        <source>&amp;Remove</source>
        <translation>&amp;Entfernen</translation>
    </message>
    <message>
        <source>Remove all folders (Alt+M)</source>
        <translation>Alle Ordner entfernen (Alt+A)</translation>
    </message>
    <message>
        <source>Remove all folders</source>
        <translation>Alle Ordner entfernen</translation>
    </message>
    <message>
        <source>Re&amp;move All</source>
        <translation>&amp;Alle entfernen</translation>
    </message>
    <message>
        <source>To remove an item from the list, select it and click Remove.</source>
        <translation>Um einen Eintrag zu entfernen, wählen Sie ihn in der Liste aus und klicken auf „Entfernen“.</translation>
    </message>
    <message>
        <source>Scan Frequency and Options</source>
        <translation>Häufigkeit und Optionen</translation>
    </message>
    <message>
        <source>Scan Frequency</source>
        <translation>Häufigkeit der Prüfung</translation>
    </message>
    <message>
        <source>Frequency:</source>
        <translation>Häufigkeit:</translation>
    </message>
    <message>
        <source>How often the scan runs</source>
        <translation>Wie oft die Prüfung läuft</translation>
    </message>
    <message>
        <source>Frequency</source>
        <translation>Häufigkeit</translation>
    </message>
    <message>
        <source>Daily</source>
        <translation>Täglich</translation>
    </message>
    <message>
        <source>Weekly</source>
        <translation>Wöchentlich</translation>
    </message>
    <message>
        <source>Every day(s):</source>
        <translation>Abstand in Tagen:</translation>
    </message>
    <message>
        <source>After how many days or weeks the scan runs again</source>
        <translation>Nach wie vielen Tagen oder Wochen die Prüfung wieder läuft</translation>
    </message>
    <message>
        <source>Weekdays:</source>
        <translation>Wochentag:</translation>
    </message>
    <message>
        <source>The day of a weekly scan</source>
        <translation>Der Tag einer wöchentlichen Prüfung</translation>
    </message>
    <message>
        <source>Weekdays</source>
        <translation>Wochentag</translation>
    </message>
    <message>
        <source>Sunday</source>
        <translation>Sonntag</translation>
    </message>
    <message>
        <source>Monday</source>
        <translation>Montag</translation>
    </message>
    <message>
        <source>Tuesday</source>
        <translation>Dienstag</translation>
    </message>
    <message>
        <source>Wednesday</source>
        <translation>Mittwoch</translation>
    </message>
    <message>
        <source>Thursday</source>
        <translation>Donnerstag</translation>
    </message>
    <message>
        <source>Friday</source>
        <translation>Freitag</translation>
    </message>
    <message>
        <source>Saturday</source>
        <translation>Samstag</translation>
    </message>
    <message>
        <source>Start at a time of day (Alt+A)</source>
        <translation>Zu einer Uhrzeit starten (Alt+U)</translation>
    </message>
    <message>
        <source>Start at a time of day</source>
        <translation>Zu einer Uhrzeit starten</translation>
    </message>
    <message>
        <source>Start &amp;at</source>
        <translation>Start &amp;um</translation>
    </message>
    <message>
        <source>When the scan starts</source>
        <translation>Wann die Prüfung startet</translation>
    </message>
    <message>
        <source>Time of the start</source>
        <translation>Uhrzeit des Starts</translation>
    </message>
    <message>
        <source>Start when the computer is first started on a day (Alt+F)</source>
        <translation>Starten, wenn der Rechner an einem Tag zum ersten Mal hochfährt (Alt+E)</translation>
    </message>
    <message>
        <source>Start at first boot</source>
        <translation>Start beim ersten Hochfahren</translation>
    </message>
    <message>
        <source>Start at &amp;first boot</source>
        <translation>Start beim &amp;ersten Hochfahren</translation>
    </message>
    <message>
        <source>Repeat the scan on the same day (Alt+R)</source>
        <translation>Die Prüfung am selben Tag wiederholen (Alt+D)</translation>
    </message>
    <message>
        <source>Repeat scan</source>
        <translation>Prüfung wiederholen</translation>
    </message>
    <message>
        <source>&amp;Repeat scan after every:</source>
        <translation>Wie&amp;derholen alle:</translation>
    </message>
    <message>
        <source>After how many minutes or hours the scan is repeated</source>
        <translation>Nach wie vielen Minuten oder Stunden die Prüfung wiederholt wird</translation>
    </message>
    <message>
        <source>Repeat scan after every</source>
        <translation>Wiederholen alle</translation>
    </message>
    <message>
        <source>Minutes or hours</source>
        <translation>Minuten oder Stunden</translation>
    </message>
    <message>
        <source>Unit of the repetition</source>
        <translation>Einheit der Wiederholung</translation>
    </message>
    <message>
        <source>Minutes</source>
        <translation>Minuten</translation>
    </message>
    <message>
        <source>Hours</source>
        <translation>Stunden</translation>
    </message>
    <message>
        <source>Scanner Options</source>
        <translation>Scanneroptionen</translation>
    </message>
    <message>
        <source>Advanced Options</source>
        <translation>Erweiterte Optionen</translation>
    </message>
    <message>
        <source>Scan adware and spyware (Alt+D)</source>
        <translation>Adware und Spyware scannen (Alt+P)</translation>
    </message>
    <message>
        <source>Scan Adware/Spyware</source>
        <translation>Adware/Spyware scannen</translation>
    </message>
    <message>
        <source>Scan A&amp;dware/Spyware</source>
        <translation>Adware/S&amp;pyware scannen</translation>
    </message>
    <message>
        <source>Scan archive files (Alt+V)</source>
        <translation>Archivdateien scannen (Alt+V)</translation>
    </message>
    <message>
        <source>Scan Archives</source>
        <translation>Archive scannen</translation>
    </message>
    <message>
        <source>Scan Archi&amp;ves</source>
        <translation>Archi&amp;ve scannen</translation>
    </message>
    <message>
        <source>Scan dumb files (Alt+M)</source>
        <translation>Dateien unbekannter Art scannen (Alt+M)</translation>
    </message>
    <message>
        <source>Dumb Scan</source>
        <translation>Formlos scannen</translation>
    </message>
    <message>
        <source>Du&amp;mb Scan</source>
        <translation>For&amp;mlos scannen</translation>
    </message>
    <message>
        <source>Scan packed files (Alt+P)</source>
        <translation>Gepackte Programme scannen (Alt+G)</translation>
    </message>
    <message>
        <source>Scan Packed</source>
        <translation>Gepackte Programme scannen</translation>
    </message>
    <message>
        <source>Scan &amp;Packed</source>
        <translation>&amp;Gepackte Programme scannen</translation>
    </message>
    <message>
        <source>Action on Virus Found</source>
        <translation>Aktion bei Virenfund</translation>
    </message>
    <message>
        <source>Select action on virus found</source>
        <translation>Aktion bei einem Virenfund auswählen</translation>
    </message>
    <message>
        <source>Repair only</source>
        <translation>Nur reparieren</translation>
    </message>
    <message>
        <source>Repair, delete if unrepairable</source>
        <translation>Reparieren, sonst löschen</translation>
    </message>
    <message>
        <source>Delete</source>
        <translation>Löschen</translation>
    </message>
    <message>
        <source>Report only</source>
        <translation>Nur melden</translation>
    </message>
    <message>
        <source>Summary</source>
        <translation>Zusammenfassung</translation>
    </message>
    <message>
        <source>Scan name:</source>
        <translation>Name der Prüfung:</translation>
    </message>
    <message>
        <source>Repeat Every:</source>
        <translation>Wiederholung:</translation>
    </message>
    <message>
        <source>Selected Folder &amp; Drives:</source>
        <translation>Ausgewählte Ordner und Laufwerke:</translation>
    </message>
    <message>
        <source>Selected folders and drives</source>
        <translation>Ausgewählte Ordner und Laufwerke</translation>
    </message>
    <message>
        <source>No folder is selected: this scan has nothing to scan. Go back to add one.</source>
        <translation>Es ist kein Ordner ausgewählt: Diese Prüfung hat nichts zu scannen. Gehen Sie zurück, um einen hinzuzufügen.</translation>
    </message>
    <message>
        <source>&lt; &amp;Back</source>
        <translation>&lt; &amp;Zurück</translation>
    </message>
    <message>
        <source>&amp;Next &gt;</source>
        <translation>&amp;Weiter &gt;</translation>
    </message>
    <message>
        <source>&amp;Finish</source>
        <translation>&amp;Fertigstellen</translation>
    </message>
    <message>
        <source>&amp;Cancel</source>
        <translation>Abbre&amp;chen</translation>
    </message>
    <message>
        <source>Schedule Scan %1 is added successfully.</source>
        <translation>Die geplante Prüfung %1 wurde hinzugefügt.</translation>
    </message>
    <message>
        <source>Schedule Scan %1 modified successfully.</source>
        <translation>Die geplante Prüfung %1 wurde geändert.</translation>
    </message>
    <message>
        <source>Schedule Scan is not added</source>
        <translation>Die geplante Prüfung wurde nicht hinzugefügt</translation>
    </message>
    <message>
        <source>Schedule Scan is not modified</source>
        <translation>Die geplante Prüfung wurde nicht geändert</translation>
    </message>
    <message>
        <source>You cannot add more than 100 scan items.</source>
        <translation>Sie können nicht mehr als 100 Einträge hinzufügen.</translation>
    </message>
    <message>
        <source>Please select item from list to remove.</source>
        <translation>Bitte wählen Sie in der Liste einen Eintrag aus, der entfernt werden soll.</translation>
    </message>
    <message>
        <source>Every weekdays(s):</source>
        <translation>Abstand in Wochen:</translation>
    </message>
    <message>
        <source>First Boot</source>
        <translation>Beim ersten Hochfahren</translation>
    </message>
    <message>
        <source>No Repeat</source>
        <translation>Keine Wiederholung</translation>
    </message>
    <message>
        <source>%1 Min</source>
        <translation>%1 Min.</translation>
    </message>
    <message>
        <source>%1 Hrs</source>
        <translation>%1 Std.</translation>
    </message>
    <message>
        <source>Give the scheduled scan a name, and add the files and folders that it is to go through.</source>
        <translation>Geben Sie der geplanten Prüfung einen Namen, und fügen Sie die Dateien und Ordner hinzu, die sie durchgehen soll.</translation>
    </message>
    <message>
        <source>When the scheduled scan runs, how thoroughly it looks, and what it does with an infected file.</source>
        <translation>Wann die geplante Prüfung läuft, wie gründlich sie sucht und was sie mit einer infizierten Datei tut.</translation>
    </message>
    <message>
        <source>With 2, a daily scan runs every other day and a weekly one every other week.</source>
        <translation>Mit 2 läuft eine tägliche Prüfung jeden zweiten Tag und eine wöchentliche jede zweite Woche.</translation>
    </message>
    <message>
        <source>The scan runs once on each of its days, when the computer is first started on it.</source>
        <translation>Die Prüfung läuft an jedem ihrer Tage einmal, wenn der Rechner zum ersten Mal gestartet wird.</translation>
    </message>
    <message>
        <source>Potentially unwanted programs are reported, too.</source>
        <translation>Auch möglicherweise unerwünschte Programme werden gemeldet.</translation>
    </message>
    <message>
        <source>What is in archives is scanned. Without it a virus in an archive is not found.</source>
        <translation>Was in Archiven liegt, wird geprüft. Sonst wird ein Virus in einem Archiv nicht gefunden.</translation>
    </message>
    <message>
        <source>Clean files of unknown kind are counted as such. What is found is the same with and without it.</source>
        <translation>Saubere Dateien unbekannter Art werden als solche gezählt. Gefunden wird mit und ohne dies dasselbe.</translation>
    </message>
    <message>
        <source>Packed programs are taken apart. Without it less is found in them.</source>
        <translation>Gepackte Programme werden zerlegt. Sonst wird in ihnen weniger gefunden.</translation>
    </message>
    <message>
        <source>What the scan does with an infected file. Nobody is there to be asked.</source>
        <translation>Was die Prüfung mit einer infizierten Datei tut. Es ist niemand da, der gefragt werden könnte.</translation>
    </message>
    <message>
        <source>This is what was chosen. Back leads to what is to be changed; Finish keeps it.</source>
        <translation>Das haben Sie gewählt. Sie können zurückgehen und es ändern, oder die Prüfung mit der letzten Schaltfläche behalten.</translation>
    </message>
</context>
</TS>
