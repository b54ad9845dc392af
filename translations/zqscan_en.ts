<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="en_US" sourcelanguage="en">
<context>
    <name>AboutPage</name>
    <message>
        <source>About</source>
        <translation>About</translation>
    </message>
    <message>
        <source>Corvane Endpoint Protection</source>
        <translation>Corvane Endpoint Protection</translation>
    </message>
    <message>
        <source>Scan engine version</source>
        <translation>Scan engine version</translation>
    </message>
    <message>
        <source>Virus database date</source>
        <translation>Virus database date</translation>
    </message>
    <message>
        <source>Web site of the maker</source>
        <translation>Web site of the maker</translation>
    </message>
    <message>
        <source>Open the web site with Mozilla (Alt+M)</source>
        <translation>Open the web site with Mozilla (Alt+M)</translation>
    </message>
    <message>
        <source>Open the web site with Mozilla</source>
        <translation>Open the web site with Mozilla</translation>
    </message>
    <message>
        <source>Open with &amp;Mozilla</source>
        <translation>Open with &amp;Mozilla</translation>
    </message>
    <message>
        <source>Alt+M</source>
        <translation>Alt+M</translation>
    </message>
    <message>
        <source>Open the web site with the browser of this desktop (Alt+W)</source>
        <translation>Open the web site with the browser of this desktop (Alt+W)</translation>
    </message>
    <message>
        <source>Open the web site with the browser of this desktop</source>
        <translation>Open the web site with the browser of this desktop</translation>
    </message>
    <message>
        <source>Open with your bro&amp;wser</source>
        <translation>Open with your bro&amp;wser</translation>
    </message>
    <message>
        <source>Alt+W</source>
        <translation>Alt+W</translation>
    </message>
    <message>
        <source>:  not known</source>
        <translation>:  not known</translation>
    </message>
    <message>
        <source>Critical!</source>
        <translation>Critical!</translation>
    </message>
    <message>
        <source>Web Browser reports an error!</source>
        <translation>Web Browser reports an error!</translation>
    </message>
    <message>
        <source>The desktop has opened no browser.
Copy the address into one.</source>
        <translation>The desktop has opened no browser.
Copy the address into one.</translation>
    </message>
</context>
<context>
    <name>ConnectionTest</name>
    <message>
        <source>There was no answer in time; the test was ended.</source>
        <translation>There was no answer in time; the test was ended.</translation>
    </message>
    <message>
        <source>The test ended without a result.</source>
        <translation>The test ended without a result.</translation>
    </message>
    <message>
        <source>The program that tests the connection is missing or cannot be started: %1</source>
        <translation>The program that tests the connection is missing or cannot be started: %1</translation>
    </message>
    <message>
        <source>The connection works.</source>
        <translation>The connection works.</translation>
    </message>
    <message>
        <source>The name of the server was not found.</source>
        <translation>The name of the server was not found.</translation>
    </message>
    <message>
        <source>The server refused the connection.</source>
        <translation>The server refused the connection.</translation>
    </message>
    <message>
        <source>The proxy server does not accept the user ID and password (error 407).</source>
        <translation>The proxy server does not accept the user ID and password (error 407).</translation>
    </message>
    <message>
        <source>The certificate of the server cannot be trusted.</source>
        <translation>The certificate of the server cannot be trusted.</translation>
    </message>
    <message>
        <source>There was no answer within 10 seconds.</source>
        <translation>There was no answer within 10 seconds.</translation>
    </message>
    <message>
        <source>The test failed: %1</source>
        <translation>The test failed: %1</translation>
    </message>
</context>
<context>
    <name>DefinitionsStatus</name>
    <message>
        <source>Definitions: not known</source>
        <translation>Definitions: not known</translation>
    </message>
    <message>
        <source>Definitions: version %1, date not known</source>
        <translation>Definitions: version %1, date not known</translation>
    </message>
    <message>
        <source>Definitions: version %1, %2, %3</source>
        <translation>Definitions: version %1, %2, %3</translation>
    </message>
    <message>
        <source>%1. They are out of date.</source>
        <translation>%1. They are out of date.</translation>
    </message>
    <message>
        <source>of today</source>
        <translation>of today</translation>
    </message>
    <message>
        <source>1 day old</source>
        <translation>1 day old</translation>
    </message>
    <message>
        <source>%1 days old</source>
        <translation>%1 days old</translation>
    </message>
    <message>
        <source>en_GB</source>
        <comment>the language that dates are written in</comment>
        <translation>en_GB</translation>
    </message>
    <message>
        <source>d MMMM yyyy</source>
        <comment>how a date is written</comment>
        <translation>d MMMM yyyy</translation>
    </message>
    <message>
        <source>Last update: not known</source>
        <translation>Last update: not known</translation>
    </message>
    <message>
        <source>Last update: none yet</source>
        <translation>Last update: none yet</translation>
    </message>
    <message>
        <source>Last update: %1, %2</source>
        <translation>Last update: %1, %2</translation>
    </message>
    <message>
        <source>%1, %2</source>
        <comment>date and time of day</comment>
        <translation>%1, %2</translation>
    </message>
    <message>
        <source>updated</source>
        <translation>updated</translation>
    </message>
    <message>
        <source>nothing new</source>
        <translation>nothing new</translation>
    </message>
    <message>
        <source>failed</source>
        <translation>failed</translation>
    </message>
    <message>
        <source>stopped</source>
        <translation>stopped</translation>
    </message>
    <message>
        <source>no valid definition files</source>
        <translation>no valid definition files</translation>
    </message>
</context>
<context>
    <name>FindBar</name>
    <message>
        <source>&amp;Find:</source>
        <translation>&amp;Find:</translation>
    </message>
    <message>
        <source>Text to find in the report</source>
        <translation>Text to find in the report</translation>
    </message>
    <message>
        <source>Previous match (Shift+F3)</source>
        <translation>Previous match (Shift+F3)</translation>
    </message>
    <message>
        <source>Previous match</source>
        <translation>Previous match</translation>
    </message>
    <message>
        <source>Next match (F3)</source>
        <translation>Next match (F3)</translation>
    </message>
    <message>
        <source>Next match</source>
        <translation>Next match</translation>
    </message>
    <message>
        <source>Close the search (Esc)</source>
        <translation>Close the search (Esc)</translation>
    </message>
    <message>
        <source>Close the search</source>
        <translation>Close the search</translation>
    </message>
    <message>
        <source>No match</source>
        <translation>No match</translation>
    </message>
    <message>
        <source>1 match</source>
        <translation>1 match</translation>
    </message>
    <message>
        <source>%1 matches</source>
        <translation>%1 matches</translation>
    </message>
    <message>
        <source>%1 of %2</source>
        <translation>%1 of %2</translation>
    </message>
    <message>
        <source>Searching ...</source>
        <translation>Searching ...</translation>
    </message>
</context>
<context>
    <name>FolderPicker</name>
    <message>
        <source>Select Directory</source>
        <translation>Select Directory</translation>
    </message>
    <message>
        <source>Folders</source>
        <translation>Folders</translation>
    </message>
    <message>
        <source>Folders of this computer. Space ticks or unticks a folder, Right opens it.</source>
        <translation>Folders of this computer. Space ticks or unticks a folder, Right opens it.</translation>
    </message>
    <message>
        <source>Folder</source>
        <translation>Folder</translation>
    </message>
    <message>
        <source>Scan the ticked folders (Alt+S)</source>
        <translation>Scan the ticked folders (Alt+S)</translation>
    </message>
    <message>
        <source>Scan the ticked folders</source>
        <translation>Scan the ticked folders</translation>
    </message>
    <message>
        <source>&amp;Scan</source>
        <translation>&amp;Scan</translation>
    </message>
    <message>
        <source>Close without scanning (Alt+C)</source>
        <translation>Close without scanning (Alt+C)</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Cancel</translation>
    </message>
    <message>
        <source>&amp;Cancel</source>
        <translation>&amp;Cancel</translation>
    </message>
    <message>
        <source>Corvane Scan</source>
        <translation>Corvane Scan</translation>
    </message>
    <message>
        <source>These folders cannot be scanned because their paths are longer than 255 bytes. They are left out:</source>
        <translation>These folders cannot be scanned because their paths are longer than 255 bytes. They are left out:</translation>
    </message>
    <message>
        <source>Please select directory to scan.</source>
        <translation>Please select directory to scan.</translation>
    </message>
    <message>
        <source>Tick the &amp;folders to scan. Each is scanned with all it contains.</source>
        <translation>Tick the &amp;folders to scan. Each is scanned with all it contains.</translation>
    </message>
    <message>
        <source>%1 ticked inside</source>
        <translation>%1 ticked inside</translation>
    </message>
    <message>
        <source>No folder is ticked.</source>
        <translation>No folder is ticked.</translation>
    </message>
    <message>
        <source>1 folder is ticked.</source>
        <translation>1 folder is ticked.</translation>
    </message>
    <message>
        <source>%1 folders are ticked.</source>
        <translation>%1 folders are ticked.</translation>
    </message>
    <message>
        <source>%1 inside closed folders.</source>
        <translation>%1 inside closed folders.</translation>
    </message>
    <message>
        <source>Tick the folders that are wanted. The arrow keys go through them and open them; Space ticks one with all that is in it.</source>
        <translation>Tick the folders that are wanted. The arrow keys go through them and open them; Space ticks one with all that is in it.</translation>
    </message>
</context>
<context>
    <name>HelpPage</name>
    <message>
        <source>This page cannot be read:</source>
        <translation>This page cannot be read:</translation>
    </message>
    <message>
        <source>This file is too long to be shown in here:</source>
        <translation>This file is too long to be shown in here:</translation>
    </message>
</context>
<context>
    <name>Manual</name>
    <message>
        <source>doc/html/</source>
        <extracomment>The folder of the manual in this language, as &quot;doc/html/de/&quot;.</extracomment>
        <translation>doc/html/</translation>
    </message>
</context>
<context>
    <name>Messages</name>
    <message>
        <source>&amp;Yes</source>
        <translation>&amp;Yes</translation>
    </message>
    <message>
        <source>&amp;No</source>
        <translation>&amp;No</translation>
    </message>
</context>
<context>
    <name>NameLabel</name>
    <message>
        <source>&amp;Copy</source>
        <translation>&amp;Copy</translation>
    </message>
</context>
<context>
    <name>PasswordLock</name>
    <message>
        <source>Unable to read the settings, Please try again.</source>
        <translation>Unable to read the settings, Please try again.</translation>
    </message>
    <message>
        <source>Enter password:</source>
        <translation>Enter password:</translation>
    </message>
    <message>
        <source>Invalid password</source>
        <translation>Invalid password</translation>
    </message>
    <message>
        <source>An administrator has put a password before this page. Only an administrator can tell it, or set another one.</source>
        <translation>An administrator has put a password before this page. Only an administrator can tell it, or set another one.</translation>
    </message>
</context>
<context>
    <name>ReportPrinter</name>
    <message>
        <source>Page %1 of %2</source>
        <translation>Page %1 of %2</translation>
    </message>
</context>
<context>
    <name>ReportsPage</name>
    <message>
        <source>Reports</source>
        <translation>Reports</translation>
    </message>
    <message>
        <source>Reports for</source>
        <translation>Reports for</translation>
    </message>
    <message>
        <source>Select which reports to list</source>
        <translation>Select which reports to list</translation>
    </message>
    <message>
        <source>Scanner</source>
        <translation>Scanner</translation>
    </message>
    <message>
        <source>Update</source>
        <translation>Update</translation>
    </message>
    <message>
        <source>Schedule Scan</source>
        <translation>Schedule Scan</translation>
    </message>
    <message>
        <source>Select Entry to view the report</source>
        <translation>Select Entry to view the report</translation>
    </message>
    <message>
        <source>Date/Time</source>
        <translation>Date/Time</translation>
    </message>
    <message>
        <source>Scanned Objects</source>
        <translation>Scanned Objects</translation>
    </message>
    <message>
        <source>Report Summary</source>
        <translation>Report Summary</translation>
    </message>
    <message>
        <source>&amp;Delete Report</source>
        <translation>&amp;Delete Report</translation>
    </message>
    <message>
        <source>Alt+D</source>
        <translation>Alt+D</translation>
    </message>
    <message>
        <source>Delete selected report (Alt+D)</source>
        <translation>Delete selected report (Alt+D)</translation>
    </message>
    <message>
        <source>Show Re&amp;port</source>
        <translation>Show Re&amp;port</translation>
    </message>
    <message>
        <source>Alt+P</source>
        <translation>Alt+P</translation>
    </message>
    <message>
        <source>Show selected report (Alt+P)</source>
        <translation>Show selected report (Alt+P)</translation>
    </message>
    <message>
        <source>Unable to open Report File. 
 Close all the application and try again</source>
        <translation>Unable to open Report File. 
 Close all the application and try again</translation>
    </message>
    <message>
        <source>Error in report delete.</source>
        <translation>Error in report delete.</translation>
    </message>
    <message>
        <source>No update reports yet.
Every update of the virus database leaves one here.</source>
        <translation>No update reports yet.
Every update of the virus database leaves one here.</translation>
    </message>
    <message>
        <source>No reports of scheduled scans yet.
Every scheduled scan leaves one here.</source>
        <translation>No reports of scheduled scans yet.
Every scheduled scan leaves one here.</translation>
    </message>
    <message>
        <source>No scan reports yet.
Scan a file or a folder: its report will be here.</source>
        <translation>No scan reports yet.
Scan a file or a folder: its report will be here.</translation>
    </message>
    <message>
        <source>Delete selected report</source>
        <translation>Delete selected report</translation>
    </message>
    <message>
        <source>Show selected report</source>
        <translation>Show selected report</translation>
    </message>
    <message>
        <source>The list of these reports cannot be read.</source>
        <translation>The list of these reports cannot be read.</translation>
    </message>
    <message>
        <source>Select a report in the list first.</source>
        <translation>Select a report in the list first.</translation>
    </message>
</context>
<context>
    <name>ScanNote</name>
    <message>
        <source>Stopping after this file...</source>
        <translation>Stopping after this file...</translation>
    </message>
    <message>
        <source>Nothing was found until then.</source>
        <translation>Nothing was found until then.</translation>
    </message>
    <message>
        <source>Nothing was found.</source>
        <translation>Nothing was found.</translation>
    </message>
    <message>
        <source>1 detection.</source>
        <translation>1 detection.</translation>
    </message>
    <message>
        <source>%1 detections.</source>
        <translation>%1 detections.</translation>
    </message>
    <message>
        <source>Stopped before the end.</source>
        <translation>Stopped before the end.</translation>
    </message>
    <message>
        <source>Nothing was found in what was read.</source>
        <translation>Nothing was found in what was read.</translation>
    </message>
    <message>
        <source>1 file was not read.</source>
        <translation>1 file was not read.</translation>
    </message>
    <message>
        <source>%1 files were not read.</source>
        <translation>%1 files were not read.</translation>
    </message>
</context>
<context>
    <name>ScanPage</name>
    <message>
        <source>Scanner</source>
        <translation>Scanner</translation>
    </message>
    <message>
        <source>Home Page</source>
        <translation>Home Page</translation>
    </message>
    <message>
        <source>Select file to scan (Alt+F)</source>
        <translation>Select file to scan (Alt+F)</translation>
    </message>
    <message>
        <source>Select file to scan</source>
        <translation>Select file to scan</translation>
    </message>
    <message>
        <source>Scan a file</source>
        <translation>Scan a file</translation>
    </message>
    <message>
        <source>Choose one file and look into it for viruses.</source>
        <translation>Choose one file and look into it for viruses.</translation>
    </message>
    <message>
        <source>Alt+F</source>
        <translation>Alt+F</translation>
    </message>
    <message>
        <source>Select Directory to scan (Alt+D)</source>
        <translation>Select Directory to scan (Alt+D)</translation>
    </message>
    <message>
        <source>Select Directory to scan</source>
        <translation>Select Directory to scan</translation>
    </message>
    <message>
        <source>Scan folders</source>
        <translation>Scan folders</translation>
    </message>
    <message>
        <source>Tick the folders whose files are to be scanned.</source>
        <translation>Tick the folders whose files are to be scanned.</translation>
    </message>
    <message>
        <source>Alt+D</source>
        <translation>Alt+D</translation>
    </message>
    <message>
        <source>The file
%1
cannot be reached by this name. Nothing was scanned; to scan it, scan its folder.</source>
        <translation>The file
%1
cannot be reached by this name. Nothing was scanned; to scan it, scan its folder.</translation>
    </message>
    <message>
        <source>The name of the file
%1
is longer than 255 bytes. Nothing was scanned; to scan it, scan a folder above it.</source>
        <translation>The name of the file
%1
is longer than 255 bytes. Nothing was scanned; to scan it, scan a folder above it.</translation>
    </message>
</context>
<context>
    <name>SchedulePage</name>
    <message>
        <source>Schedule Scan</source>
        <translation>Schedule Scan</translation>
    </message>
    <message>
        <source>Your scheduled scans</source>
        <translation>Your scheduled scans</translation>
    </message>
    <message>
        <source>Scheduled scans</source>
        <translation>Scheduled scans</translation>
    </message>
    <message>
        <source>Schedule Item</source>
        <translation>Schedule Item</translation>
    </message>
    <message>
        <source>Frequency</source>
        <translation>Frequency</translation>
    </message>
    <message>
        <source>Scan Location</source>
        <translation>Scan Location</translation>
    </message>
    <message>
        <source>Run the selected scan now (Alt+W)</source>
        <translation>Run the selected scan now (Alt+W)</translation>
    </message>
    <message>
        <source>Run the selected scan now</source>
        <translation>Run the selected scan now</translation>
    </message>
    <message>
        <source>Run no&amp;w</source>
        <translation>Run no&amp;w</translation>
    </message>
    <message>
        <source>Show the report of the last run (Alt+P)</source>
        <translation>Show the report of the last run (Alt+P)</translation>
    </message>
    <message>
        <source>Show the report of the last run</source>
        <translation>Show the report of the last run</translation>
    </message>
    <message>
        <source>Show Re&amp;port</source>
        <translation>Show Re&amp;port</translation>
    </message>
    <message>
        <source>Schedule a new scan (Alt+N)</source>
        <translation>Schedule a new scan (Alt+N)</translation>
    </message>
    <message>
        <source>New scheduled scan</source>
        <translation>New scheduled scan</translation>
    </message>
    <message>
        <source>&amp;New</source>
        <translation>&amp;New</translation>
    </message>
    <message>
        <source>Change the selected scan (Alt+E)</source>
        <translation>Change the selected scan (Alt+E)</translation>
    </message>
    <message>
        <source>Change the selected scan</source>
        <translation>Change the selected scan</translation>
    </message>
    <message>
        <source>&amp;Edit</source>
        <translation>&amp;Edit</translation>
    </message>
    <message>
        <source>Remove the selected scan (Alt+D)</source>
        <translation>Remove the selected scan (Alt+D)</translation>
    </message>
    <message>
        <source>Remove the selected scan</source>
        <translation>Remove the selected scan</translation>
    </message>
    <message>
        <source>&amp;Delete</source>
        <translation>&amp;Delete</translation>
    </message>
    <message>
        <source>Daily</source>
        <translation>Daily</translation>
    </message>
    <message>
        <source>Weekly</source>
        <translation>Weekly</translation>
    </message>
    <message>
        <source>Please select task from list.</source>
        <translation>Please select task from list.</translation>
    </message>
    <message>
        <source>Do you want to  remove the Schedule Scan?</source>
        <translation>Do you want to  remove the Schedule Scan?</translation>
    </message>
</context>
<context>
    <name>ScheduleTexts</name>
    <message>
        <source>Scan already scheduled.</source>
        <translation>Scan already scheduled.</translation>
    </message>
    <message>
        <source>A Scan Name cannot contain any special character.</source>
        <translation>A Scan Name cannot contain any special character.</translation>
    </message>
    <message>
        <source>Scan already scheduled by another user.</source>
        <translation>Scan already scheduled by another user.</translation>
    </message>
    <message>
        <source>Scan Name should not be greater than 255 characters. Enter valid scheduled scan name.</source>
        <translation>Scan Name should not be greater than 255 characters. Enter valid scheduled scan name.</translation>
    </message>
    <message>
        <source>Scan Name is empty. Please enter valid scheduled scan name.</source>
        <translation>Scan Name is empty. Please enter valid scheduled scan name.</translation>
    </message>
    <message>
        <source>Scan Name is not valid, Enter valid Scan Name.</source>
        <translation>Scan Name is not valid, Enter valid Scan Name.</translation>
    </message>
    <message>
        <source>%1 is not allowed. Enter full path.</source>
        <translation>%1 is not allowed. Enter full path.</translation>
    </message>
    <message>
        <source>%1 does not exist. Please enter valid path.</source>
        <translation>%1 does not exist. Please enter valid path.</translation>
    </message>
    <message>
        <source>%1 is a file. Please enter directory path.</source>
        <translation>%1 is a file. Please enter directory path.</translation>
    </message>
    <message>
        <source>For directory %1 permission denied. Enter valid path.</source>
        <translation>For directory %1 permission denied. Enter valid path.</translation>
    </message>
    <message>
        <source>%1 contains a semicolon, is not valid UTF-8 or is too long. It cannot be scanned at a scheduled time.</source>
        <translation>%1 contains a semicolon, is not valid UTF-8 or is too long. It cannot be scanned at a scheduled time.</translation>
    </message>
    <message>
        <source>%1 cannot be scanned at a scheduled time (error %2).</source>
        <translation>%1 cannot be scanned at a scheduled time (error %2).</translation>
    </message>
    <message>
        <source>The service of the scheduler does not run or does not answer.</source>
        <translation>The service of the scheduler does not run or does not answer.</translation>
    </message>
    <message>
        <source>This scheduled scan is no longer there.</source>
        <translation>This scheduled scan is no longer there.</translation>
    </message>
    <message>
        <source>You have as many scheduled scans as are allowed. Remove one first.</source>
        <translation>You have as many scheduled scans as are allowed. Remove one first.</translation>
    </message>
    <message>
        <source>The scheduler does not accept these settings.</source>
        <translation>The scheduler does not accept these settings.</translation>
    </message>
    <message>
        <source>The list of scheduled scans cannot be read or written.</source>
        <translation>The list of scheduled scans cannot be read or written.</translation>
    </message>
    <message>
        <source>This scan is running already, or waits for its turn.</source>
        <translation>This scan is running already, or waits for its turn.</translation>
    </message>
    <message>
        <source>The scheduler reports error %1.</source>
        <translation>The scheduler reports error %1.</translation>
    </message>
    <message>
        <source>Next run: as soon as its turn comes</source>
        <translation>Next run: as soon as its turn comes</translation>
    </message>
    <message>
        <source>Next run: %1</source>
        <translation>Next run: %1</translation>
    </message>
    <message>
        <source>Next run: not before the service of the scheduler runs</source>
        <translation>Next run: not before the service of the scheduler runs</translation>
    </message>
    <message>
        <source>Next run: when the computer is first started on a due day</source>
        <translation>Next run: when the computer is first started on a due day</translation>
    </message>
    <message>
        <source>Next run: not known</source>
        <translation>Next run: not known</translation>
    </message>
    <message>
        <source>Last run: %1, going on</source>
        <translation>Last run: %1, going on</translation>
    </message>
    <message>
        <source>Last run: none yet</source>
        <translation>Last run: none yet</translation>
    </message>
    <message>
        <source>Last run: %1</source>
        <translation>Last run: %1</translation>
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
        <translation>No scheduled scan runs now, because the service of the scheduler does not run. An administrator starts it with: %1</translation>
    </message>
    <message>
        <source>en_GB</source>
        <comment>the language that dates are written in</comment>
        <translation>en_GB</translation>
    </message>
    <message>
        <source>dddd, d MMMM yyyy, HH:mm</source>
        <comment>how a moment is written</comment>
        <translation>dddd, d MMMM yyyy, HH:mm</translation>
    </message>
    <message>
        <source>late, for a time when it could not run</source>
        <translation>late, for a time when it could not run</translation>
    </message>
    <message>
        <source>after the start of the computer</source>
        <translation>after the start of the computer</translation>
    </message>
    <message>
        <source>a repetition</source>
        <translation>a repetition</translation>
    </message>
    <message>
        <source>on request</source>
        <translation>on request</translation>
    </message>
    <message>
        <source>nothing found</source>
        <translation>nothing found</translation>
    </message>
    <message>
        <source>1 infected file</source>
        <translation>1 infected file</translation>
    </message>
    <message>
        <source>%1 infected files</source>
        <translation>%1 infected files</translation>
    </message>
    <message>
        <source>nothing found, 1 file could not be read</source>
        <translation>nothing found, 1 file could not be read</translation>
    </message>
    <message>
        <source>nothing found, %1 files could not be read</source>
        <translation>nothing found, %1 files could not be read</translation>
    </message>
    <message>
        <source>the scanner could not work</source>
        <translation>the scanner could not work</translation>
    </message>
    <message>
        <source>interrupted</source>
        <translation>interrupted</translation>
    </message>
    <message>
        <source>ended after 24 hours</source>
        <translation>ended after 24 hours</translation>
    </message>
    <message>
        <source>not made, for its owner is no longer a user of this computer</source>
        <translation>not made, for its owner is no longer a user of this computer</translation>
    </message>
    <message>
        <source>not made, for no report could be written</source>
        <translation>not made, for no report could be written</translation>
    </message>
    <message>
        <source>result %1</source>
        <translation>result %1</translation>
    </message>
</context>
<context>
    <name>SettingsPage</name>
    <message>
        <source>Scanner Settings</source>
        <translation>Scanner Settings</translation>
    </message>
    <message>
        <source>Advanced Options</source>
        <translation>Advanced Options</translation>
    </message>
    <message>
        <source>Scan adware and spyware (Alt+D)</source>
        <translation>Scan adware and spyware (Alt+D)</translation>
    </message>
    <message>
        <source>Scan Adware/Spyware</source>
        <translation>Scan Adware/Spyware</translation>
    </message>
    <message>
        <source>Scan A&amp;dware/Spyware</source>
        <translation>Scan A&amp;dware/Spyware</translation>
    </message>
    <message>
        <source>Alt+D</source>
        <translation>Alt+D</translation>
    </message>
    <message>
        <source>Scan dumb files (Alt+M)</source>
        <translation>Scan dumb files (Alt+M)</translation>
    </message>
    <message>
        <source>Dumb Scan</source>
        <translation>Dumb Scan</translation>
    </message>
    <message>
        <source>Du&amp;mb Scan</source>
        <translation>Du&amp;mb Scan</translation>
    </message>
    <message>
        <source>Alt+M</source>
        <translation>Alt+M</translation>
    </message>
    <message>
        <source>Scan archive files (Alt+V)</source>
        <translation>Scan archive files (Alt+V)</translation>
    </message>
    <message>
        <source>Scan Archives</source>
        <translation>Scan Archives</translation>
    </message>
    <message>
        <source>Scan Archi&amp;ves</source>
        <translation>Scan Archi&amp;ves</translation>
    </message>
    <message>
        <source>Alt+V</source>
        <translation>Alt+V</translation>
    </message>
    <message>
        <source>Scan packed files (Alt+N)</source>
        <translation>Scan packed files (Alt+N)</translation>
    </message>
    <message>
        <source>Scan Packed</source>
        <translation>Scan Packed</translation>
    </message>
    <message>
        <source>Sca&amp;n Packed</source>
        <translation>Sca&amp;n Packed</translation>
    </message>
    <message>
        <source>Alt+N</source>
        <translation>Alt+N</translation>
    </message>
    <message>
        <source>Ac&amp;tion on Virus Found</source>
        <translation>Ac&amp;tion on Virus Found</translation>
    </message>
    <message>
        <source>Select action on virus found (Alt+T)</source>
        <translation>Select action on virus found (Alt+T)</translation>
    </message>
    <message>
        <source>Action on Virus Found</source>
        <translation>Action on Virus Found</translation>
    </message>
    <message>
        <source>Repair only</source>
        <translation>Repair only</translation>
    </message>
    <message>
        <source>Repair, delete if unrepairable</source>
        <translation>Repair, delete if unrepairable</translation>
    </message>
    <message>
        <source>Delete</source>
        <translation>Delete</translation>
    </message>
    <message>
        <source>Report only</source>
        <translation>Report only</translation>
    </message>
    <message>
        <source>Prompt</source>
        <translation>Prompt</translation>
    </message>
    <message>
        <source>Drop the changes (Alt+C)</source>
        <translation>Drop the changes (Alt+C)</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Cancel</translation>
    </message>
    <message>
        <source>&amp;Cancel</source>
        <translation>&amp;Cancel</translation>
    </message>
    <message>
        <source>Alt+C</source>
        <translation>Alt+C</translation>
    </message>
    <message>
        <source>Save scanner settings</source>
        <translation>Save scanner settings</translation>
    </message>
    <message>
        <source>Apply</source>
        <translation>Apply</translation>
    </message>
    <message>
        <source>A&amp;pply</source>
        <translation>A&amp;pply</translation>
    </message>
    <message>
        <source>Alt+P</source>
        <translation>Alt+P</translation>
    </message>
    <message>
        <source>Bad or Missing Configuration, or you do not have sufficient privileges</source>
        <translation>Bad or Missing Configuration, or you do not have sufficient privileges</translation>
    </message>
    <message>
        <source>Unable to save options. 
 Close all the application and try again</source>
        <translation>Unable to save options. 
 Close all the application and try again</translation>
    </message>
    <message>
        <source>Bad or Missing Configuration</source>
        <translation>Bad or Missing Configuration</translation>
    </message>
</context>
<context>
    <name>UnreadFilesDialog</name>
    <message>
        <source>Files not read</source>
        <translation>Files not read</translation>
    </message>
    <message>
        <source>File</source>
        <translation>File</translation>
    </message>
    <message>
        <source>Reason</source>
        <translation>Reason</translation>
    </message>
    <message>
        <source>C&amp;opy list</source>
        <translation>C&amp;opy list</translation>
    </message>
    <message>
        <source>Copy the whole list as text (Alt+O)</source>
        <translation>Copy the whole list as text (Alt+O)</translation>
    </message>
    <message>
        <source>&amp;Close</source>
        <translation>&amp;Close</translation>
    </message>
    <message>
        <source>Nothing is known about these files: they were not read, or not to their end.</source>
        <translation>Nothing is known about these files: they were not read, or not to their end.</translation>
    </message>
    <message>
        <source>The first %1 of %2 are listed.</source>
        <translation>The first %1 of %2 are listed.</translation>
    </message>
    <message>
        <source>These files were not read, or not to their end, each for the reason beside it. Whether a virus is in them is not known.</source>
        <translation>These files were not read, or not to their end, each for the reason beside it. Whether a virus is in them is not known.</translation>
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
        <translation>Rapid Update is already running in automatic mode.</translation>
    </message>
    <message>
        <source>Error retrieving updates.</source>
        <translation>Error retrieving updates.</translation>
    </message>
    <message>
        <source>Corvane Endpoint Protection is successfully updated.</source>
        <translation>Corvane Endpoint Protection is successfully updated.</translation>
    </message>
    <message>
        <source>The version of Corvane Endpoint Protection you have is up-to-date. 
Use Rapid Update regularly to keep your copy updated.</source>
        <translation>The version of Corvane Endpoint Protection you have is up-to-date. 
Use Rapid Update regularly to keep your copy updated.</translation>
    </message>
    <message>
        <source>Update process interrupted by user.</source>
        <translation>Update process interrupted by user.</translation>
    </message>
    <message>
        <source>Specify valid definition files.</source>
        <translation>Specify valid definition files.</translation>
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
        <translation>Update from</translation>
    </message>
    <message>
        <source>Update from the Internet centre (Alt+I)</source>
        <translation>Update from the Internet centre (Alt+I)</translation>
    </message>
    <message>
        <source>Internet centre</source>
        <translation>Internet centre</translation>
    </message>
    <message>
        <source>&amp;Internet centre</source>
        <translation>&amp;Internet centre</translation>
    </message>
    <message>
        <source>Alt+I</source>
        <translation>Alt+I</translation>
    </message>
    <message>
        <source>Set the proxy server (Alt+G)</source>
        <translation>Set the proxy server (Alt+G)</translation>
    </message>
    <message>
        <source>Internet settings</source>
        <translation>Internet settings</translation>
    </message>
    <message>
        <source>Internet settin&amp;gs...</source>
        <translation>Internet settin&amp;gs...</translation>
    </message>
    <message>
        <source>Alt+G</source>
        <translation>Alt+G</translation>
    </message>
    <message>
        <source>Update from the Endpoint Protection Server (Alt+V)</source>
        <translation>Update from the Endpoint Protection Server (Alt+V)</translation>
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
        <translation>Update from path (Alt+K)</translation>
    </message>
    <message>
        <source>Update from path</source>
        <translation>Update from path</translation>
    </message>
    <message>
        <source>Alt+K</source>
        <translation>Alt+K</translation>
    </message>
    <message>
        <source>Folder that updates are taken from</source>
        <translation>Folder that updates are taken from</translation>
    </message>
    <message>
        <source>Folder with updates</source>
        <translation>Folder with updates</translation>
    </message>
    <message>
        <source>Choose the folder that updates are taken from (Alt+D)</source>
        <translation>Choose the folder that updates are taken from (Alt+D)</translation>
    </message>
    <message>
        <source>Choose the folder with updates</source>
        <translation>Choose the folder with updates</translation>
    </message>
    <message>
        <source>Fol&amp;der...</source>
        <translation>Fol&amp;der...</translation>
    </message>
    <message>
        <source>Alt+D</source>
        <translation>Alt+D</translation>
    </message>
    <message>
        <source>Update the virus database now (Alt+W)</source>
        <translation>Update the virus database now (Alt+W)</translation>
    </message>
    <message>
        <source>Update now</source>
        <translation>Update now</translation>
    </message>
    <message>
        <source>Update no&amp;w</source>
        <translation>Update no&amp;w</translation>
    </message>
    <message>
        <source>Alt+W</source>
        <translation>Alt+W</translation>
    </message>
    <message>
        <source>Keep backup of update files (Alt+B)</source>
        <translation>Keep backup of update files (Alt+B)</translation>
    </message>
    <message>
        <source>Keep a backup of update files</source>
        <translation>Keep a backup of update files</translation>
    </message>
    <message>
        <source>Keep a &amp;backup of update files</source>
        <translation>Keep a &amp;backup of update files</translation>
    </message>
    <message>
        <source>Alt+B</source>
        <translation>Alt+B</translation>
    </message>
    <message>
        <source>Folder that update files are kept in</source>
        <translation>Folder that update files are kept in</translation>
    </message>
    <message>
        <source>Backup folder</source>
        <translation>Backup folder</translation>
    </message>
    <message>
        <source>Choose the folder that update files are kept in (Alt+F)</source>
        <translation>Choose the folder that update files are kept in (Alt+F)</translation>
    </message>
    <message>
        <source>Choose the backup folder</source>
        <translation>Choose the backup folder</translation>
    </message>
    <message>
        <source>&amp;Folder...</source>
        <translation>&amp;Folder...</translation>
    </message>
    <message>
        <source>Alt+F</source>
        <translation>Alt+F</translation>
    </message>
    <message>
        <source>Enable automatic update (Alt+E)</source>
        <translation>Enable automatic update (Alt+E)</translation>
    </message>
    <message>
        <source>Enable automatic updates</source>
        <translation>Enable automatic updates</translation>
    </message>
    <message>
        <source>&amp;Enable automatic updates</source>
        <translation>&amp;Enable automatic updates</translation>
    </message>
    <message>
        <source>Alt+E</source>
        <translation>Alt+E</translation>
    </message>
    <message>
        <source>Drop the changes (Alt+C)</source>
        <translation>Drop the changes (Alt+C)</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Cancel</translation>
    </message>
    <message>
        <source>&amp;Cancel</source>
        <translation>&amp;Cancel</translation>
    </message>
    <message>
        <source>Alt+C</source>
        <translation>Alt+C</translation>
    </message>
    <message>
        <source>Save the update settings (Alt+P)</source>
        <translation>Save the update settings (Alt+P)</translation>
    </message>
    <message>
        <source>Apply</source>
        <translation>Apply</translation>
    </message>
    <message>
        <source>A&amp;pply</source>
        <translation>A&amp;pply</translation>
    </message>
    <message>
        <source>Alt+P</source>
        <translation>Alt+P</translation>
    </message>
    <message>
        <source>You do not have sufficient privileges.</source>
        <translation>You do not have sufficient privileges.</translation>
    </message>
    <message>
        <source>Bad or Missing Configuration, or you do not have sufficient privileges</source>
        <translation>Bad or Missing Configuration, or you do not have sufficient privileges</translation>
    </message>
    <message>
        <source>Bad or Missing Configuration.</source>
        <translation>Bad or Missing Configuration.</translation>
    </message>
    <message>
        <source>Please provide the path.</source>
        <translation>Please provide the path.</translation>
    </message>
    <message>
        <source>Please Provide the valid path.</source>
        <translation>Please Provide the valid path.</translation>
    </message>
    <message>
        <source>Provide the path to store update backup.</source>
        <translation>Provide the path to store update backup.</translation>
    </message>
    <message>
        <source>Please provide the valid path.</source>
        <translation>Please provide the valid path.</translation>
    </message>
    <message>
        <source>The name of the folder is longer than 255 bytes. Nothing was saved.</source>
        <translation>The name of the folder is longer than 255 bytes. Nothing was saved.</translation>
    </message>
    <message>
        <source>get existing directory</source>
        <translation>get existing directory</translation>
    </message>
    <message>
        <source>The folder
%1
cannot be reached by this name. Rename it, or choose another one.</source>
        <translation>The folder
%1
cannot be reached by this name. Rename it, or choose another one.</translation>
    </message>
</context>
<context>
    <name>dlgDir</name>
    <message>
        <source>These folders cannot be scanned at a scheduled time because their paths are longer than 255 bytes, contain a semicolon or are not valid UTF-8. They are left out:</source>
        <translation>These folders cannot be scanned at a scheduled time because their paths are longer than 255 bytes, contain a semicolon or are not valid UTF-8. They are left out:</translation>
    </message>
    <message>
        <source>&amp;Add</source>
        <translation>&amp;Add</translation>
    </message>
    <message>
        <source>Add the ticked folders (Alt+A)</source>
        <translation>Add the ticked folders (Alt+A)</translation>
    </message>
    <message>
        <source>Add the ticked folders</source>
        <translation>Add the ticked folders</translation>
    </message>
</context>
<context>
    <name>dlgHelp</name>
    <message>
        <source>Page</source>
        <translation>Page</translation>
    </message>
    <message>
        <source>The file of this page; type another and press Return</source>
        <translation>The file of this page; type another and press Return</translation>
    </message>
    <message>
        <source>Help page</source>
        <translation>Help page</translation>
    </message>
    <message>
        <source>The page; Tab goes from link to link, Return follows one</source>
        <translation>The page; Tab goes from link to link, Return follows one</translation>
    </message>
    <message>
        <source>&amp;File</source>
        <translation>&amp;File</translation>
    </message>
    <message>
        <source>&amp;Go</source>
        <translation>&amp;Go</translation>
    </message>
    <message>
        <source>Hi&amp;story</source>
        <translation>Hi&amp;story</translation>
    </message>
    <message>
        <source>&amp;Bookmarks</source>
        <translation>&amp;Bookmarks</translation>
    </message>
    <message>
        <source>&amp;Help</source>
        <translation>&amp;Help</translation>
    </message>
    <message>
        <source>Tool bar</source>
        <translation>Tool bar</translation>
    </message>
    <message>
        <source>&amp;New Window</source>
        <translation>&amp;New Window</translation>
    </message>
    <message>
        <source>One more viewer on this page (Ctrl+N)</source>
        <translation>One more viewer on this page (Ctrl+N)</translation>
    </message>
    <message>
        <source>Ctrl+N</source>
        <translation>Ctrl+N</translation>
    </message>
    <message>
        <source>&amp;Open...</source>
        <translation>&amp;Open...</translation>
    </message>
    <message>
        <source>Show a file (Ctrl+O)</source>
        <translation>Show a file (Ctrl+O)</translation>
    </message>
    <message>
        <source>Ctrl+O</source>
        <translation>Ctrl+O</translation>
    </message>
    <message>
        <source>&amp;Print...</source>
        <translation>&amp;Print...</translation>
    </message>
    <message>
        <source>Print this page (Ctrl+P)</source>
        <translation>Print this page (Ctrl+P)</translation>
    </message>
    <message>
        <source>Ctrl+P</source>
        <translation>Ctrl+P</translation>
    </message>
    <message>
        <source>&amp;Close</source>
        <translation>&amp;Close</translation>
    </message>
    <message>
        <source>Close the viewer (Ctrl+W)</source>
        <translation>Close the viewer (Ctrl+W)</translation>
    </message>
    <message>
        <source>Ctrl+W</source>
        <translation>Ctrl+W</translation>
    </message>
    <message>
        <source>&amp;Back</source>
        <translation>&amp;Back</translation>
    </message>
    <message>
        <source>The page before (Alt+Left)</source>
        <translation>The page before (Alt+Left)</translation>
    </message>
    <message>
        <source>Alt+Left</source>
        <translation>Alt+Left</translation>
    </message>
    <message>
        <source>&amp;Forward</source>
        <translation>&amp;Forward</translation>
    </message>
    <message>
        <source>The page after (Alt+Right)</source>
        <translation>The page after (Alt+Right)</translation>
    </message>
    <message>
        <source>Alt+Right</source>
        <translation>Alt+Right</translation>
    </message>
    <message>
        <source>&amp;Home</source>
        <translation>&amp;Home</translation>
    </message>
    <message>
        <source>The first page of the help (Alt+Home)</source>
        <translation>The first page of the help (Alt+Home)</translation>
    </message>
    <message>
        <source>Alt+Home</source>
        <translation>Alt+Home</translation>
    </message>
    <message>
        <source>&amp;Add Bookmark</source>
        <translation>&amp;Add Bookmark</translation>
    </message>
    <message>
        <source>Add this page to the bookmarks (Ctrl+D)</source>
        <translation>Add this page to the bookmarks (Ctrl+D)</translation>
    </message>
    <message>
        <source>Ctrl+D</source>
        <translation>Ctrl+D</translation>
    </message>
    <message>
        <source>&amp;About the Help Viewer</source>
        <translation>&amp;About the Help Viewer</translation>
    </message>
    <message>
        <source>What this window is</source>
        <translation>What this window is</translation>
    </message>
    <message>
        <source>%1 is not opened in here. Copy the address and open it in your browser.</source>
        <translation>%1 is not opened in here. Copy the address and open it in your browser.</translation>
    </message>
    <message>
        <source>%1 lies outside the folder of this page. Open it with Ctrl+O.</source>
        <translation>%1 lies outside the folder of this page. Open it with Ctrl+O.</translation>
    </message>
    <message>
        <source>Corvane Main help viewer</source>
        <translation>Corvane Main help viewer</translation>
    </message>
    <message>
        <source>Open page</source>
        <translation>Open page</translation>
    </message>
    <message>
        <source>Pages (*.htm *.html)</source>
        <translation>Pages (*.htm *.html)</translation>
    </message>
    <message>
        <source>All Files (*)</source>
        <translation>All Files (*)</translation>
    </message>
    <message>
        <source>This page is among the bookmarks already.</source>
        <translation>This page is among the bookmarks already.</translation>
    </message>
    <message>
        <source>The page is among the bookmarks now.</source>
        <translation>The page is among the bookmarks now.</translation>
    </message>
    <message>
        <source>The bookmark goes away with this window: the file of bookmarks cannot be written.</source>
        <translation>The bookmark goes away with this window: the file of bookmarks cannot be written.</translation>
    </message>
    <message>
        <source>Unable to print the page.
Check the printer, or the room for the file that is printed to.</source>
        <translation>Unable to print the page.
Check the printer, or the room for the file that is printed to.</translation>
    </message>
    <message>
        <source>About the help viewer</source>
        <translation>About the help viewer</translation>
    </message>
    <message>
        <source>The help viewer of Corvane Endpoint Protection.

It shows pages of this machine and loads nothing from the network.</source>
        <translation>The help viewer of Corvane Endpoint Protection.

It shows pages of this machine and loads nothing from the network.</translation>
    </message>
    <message>
        <source>&amp;Page:</source>
        <translation>&amp;Page:</translation>
    </message>
</context>
<context>
    <name>dlgIntSet</name>
    <message>
        <source>Internet Settings</source>
        <translation>Internet Settings</translation>
    </message>
    <message>
        <source>Change these settings only in case if your computer is connected to a SOCKS5 or Firewall protected Network or if you have any trouble while downloading from Corvane Internet Centre.</source>
        <translation>Change these settings only in case if your computer is connected to a SOCKS5 or Firewall protected Network or if you have any trouble while downloading from Corvane Internet Centre.</translation>
    </message>
    <message>
        <source>Proxy settings</source>
        <translation>Proxy settings</translation>
    </message>
    <message>
        <source>Use proxy server (Alt+U)</source>
        <translation>Use proxy server (Alt+U)</translation>
    </message>
    <message>
        <source>Use Proxy</source>
        <translation>Use Proxy</translation>
    </message>
    <message>
        <source>&amp;Use Proxy</source>
        <translation>&amp;Use Proxy</translation>
    </message>
    <message>
        <source>Alt+U</source>
        <translation>Alt+U</translation>
    </message>
    <message>
        <source>Proxy server address (Alt+S)</source>
        <translation>Proxy server address (Alt+S)</translation>
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
        <translation>proxy.example.org or socks5://proxy.example.org</translation>
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
        <translation>Enable authentication (Alt+Q)</translation>
    </message>
    <message>
        <source>Authentication required</source>
        <translation>Authentication required</translation>
    </message>
    <message>
        <source>Authentication re&amp;quired</source>
        <translation>Authentication re&amp;quired</translation>
    </message>
    <message>
        <source>Alt+Q</source>
        <translation>Alt+Q</translation>
    </message>
    <message>
        <source>User name (Alt+I)</source>
        <translation>User name (Alt+I)</translation>
    </message>
    <message>
        <source>User&amp;ID</source>
        <translation>User&amp;ID</translation>
    </message>
    <message>
        <source>UserID</source>
        <translation>UserID</translation>
    </message>
    <message>
        <source>Password (Alt+W)</source>
        <translation>Password (Alt+W)</translation>
    </message>
    <message>
        <source>Pass&amp;word</source>
        <translation>Pass&amp;word</translation>
    </message>
    <message>
        <source>Password</source>
        <translation>Password</translation>
    </message>
    <message>
        <source>Test the connection (Alt+T)</source>
        <translation>Test the connection (Alt+T)</translation>
    </message>
    <message>
        <source>Test</source>
        <translation>Test</translation>
    </message>
    <message>
        <source>&amp;Test</source>
        <translation>&amp;Test</translation>
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
        <translation>Cancel (Alt+C)</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Cancel</translation>
    </message>
    <message>
        <source>&amp;Cancel</source>
        <translation>&amp;Cancel</translation>
    </message>
    <message>
        <source>Alt+C</source>
        <translation>Alt+C</translation>
    </message>
    <message>
        <source>Internet settings</source>
        <translation>Internet settings</translation>
    </message>
    <message>
        <source>Bad or Missing Configuration.</source>
        <translation>Bad or Missing Configuration.</translation>
    </message>
    <message>
        <source>The connection is being tested...</source>
        <translation>The connection is being tested...</translation>
    </message>
    <message>
        <source>Provide the valid proxy server configuration</source>
        <translation>Provide the valid proxy server configuration</translation>
    </message>
    <message>
        <source>For computers that reach the Internet only through a proxy server. Whoever runs your network knows its address. Test tries the connection and stores nothing.</source>
        <translation>For computers that reach the Internet only through a proxy server. Whoever runs your network knows its address. Test tries the connection and stores nothing.</translation>
    </message>
    <message>
        <source>The name or the address of the server. For a SOCKS5 server write socks5:// before it.</source>
        <translation>The name or the address of the server. For a SOCKS5 server write socks5:// before it.</translation>
    </message>
    <message>
        <source>It is stored as it is, where every user of this computer can read it. Use one that opens nothing else.</source>
        <translation>It is stored as it is, where every user of this computer can read it. Use one that opens nothing else.</translation>
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
        <translation>Scan (Alt+S)</translation>
    </message>
    <message>
        <source>Scan</source>
        <translation>Scan</translation>
    </message>
    <message>
        <source>&amp;Scan</source>
        <translation>&amp;Scan</translation>
    </message>
    <message>
        <source>Alt+S</source>
        <translation>Alt+S</translation>
    </message>
    <message>
        <source>Configure Corvane (Alt+O)</source>
        <translation>Configure Corvane (Alt+O)</translation>
    </message>
    <message>
        <source>Options</source>
        <translation>Options</translation>
    </message>
    <message>
        <source>&amp;Options</source>
        <translation>&amp;Options</translation>
    </message>
    <message>
        <source>Alt+O</source>
        <translation>Alt+O</translation>
    </message>
    <message>
        <source>View Reports of Corvane activities (Alt+R)</source>
        <translation>View Reports of Corvane activities (Alt+R)</translation>
    </message>
    <message>
        <source>Reports</source>
        <translation>Reports</translation>
    </message>
    <message>
        <source>&amp;Reports</source>
        <translation>&amp;Reports</translation>
    </message>
    <message>
        <source>Alt+R</source>
        <translation>Alt+R</translation>
    </message>
    <message>
        <source>Update Corvane online (Alt+U)</source>
        <translation>Update Corvane online (Alt+U)</translation>
    </message>
    <message>
        <source>Update</source>
        <translation>Update</translation>
    </message>
    <message>
        <source>&amp;Update</source>
        <translation>&amp;Update</translation>
    </message>
    <message>
        <source>Alt+U</source>
        <translation>Alt+U</translation>
    </message>
    <message>
        <source>Configure Schedule Scan (Alt+L)</source>
        <translation>Configure Schedule Scan (Alt+L)</translation>
    </message>
    <message>
        <source>Schedule</source>
        <translation>Schedule</translation>
    </message>
    <message>
        <source>Schedu&amp;le</source>
        <translation>Schedu&amp;le</translation>
    </message>
    <message>
        <source>Alt+L</source>
        <translation>Alt+L</translation>
    </message>
    <message>
        <source>About Corvane (Alt+A)</source>
        <translation>About Corvane (Alt+A)</translation>
    </message>
    <message>
        <source>About</source>
        <translation>About</translation>
    </message>
    <message>
        <source>&amp;About</source>
        <translation>&amp;About</translation>
    </message>
    <message>
        <source>Alt+A</source>
        <translation>Alt+A</translation>
    </message>
    <message>
        <source>Display Corvane help (Alt+H)</source>
        <translation>Display Corvane help (Alt+H)</translation>
    </message>
    <message>
        <source>Help</source>
        <translation>Help</translation>
    </message>
    <message>
        <source>&amp;Help</source>
        <translation>&amp;Help</translation>
    </message>
    <message>
        <source>Alt+H</source>
        <translation>Alt+H</translation>
    </message>
    <message>
        <source>Exit Corvane scanner (Alt+X)</source>
        <translation>Exit Corvane scanner (Alt+X)</translation>
    </message>
    <message>
        <source>Exit</source>
        <translation>Exit</translation>
    </message>
    <message>
        <source>E&amp;xit</source>
        <translation>E&amp;xit</translation>
    </message>
    <message>
        <source>Alt+X</source>
        <translation>Alt+X</translation>
    </message>
    <message>
        <source>Corvane Settings</source>
        <translation>Corvane Settings</translation>
    </message>
    <message>
        <source>Do you want to save the changes?</source>
        <translation>Do you want to save the changes?</translation>
    </message>
    <message>
        <source>Loading... Scan Option Settings</source>
        <translation>Loading... Scan Option Settings</translation>
    </message>
    <message>
        <source>Loading... Update Module</source>
        <translation>Loading... Update Module</translation>
    </message>
    <message>
        <source>Loading...</source>
        <translation>Loading...</translation>
    </message>
    <message>
        <source>Unable to load Scan API Library</source>
        <translation>Unable to load Scan API Library</translation>
    </message>
    <message>
        <source>API Library loaded successfully</source>
        <translation>API Library loaded successfully</translation>
    </message>
    <message>
        <source>Unable to open Report File. 
 Close all the application and try again</source>
        <translation>Unable to open Report File. 
 Close all the application and try again</translation>
    </message>
    <message>
        <source>Unable to unload Scan API Library</source>
        <translation>Unable to unload Scan API Library</translation>
    </message>
    <message>
        <source>Corvane Main help viewer</source>
        <translation>Corvane Main help viewer</translation>
    </message>
</context>
<context>
    <name>dlgReport</name>
    <message>
        <source>Corvane Scan Report</source>
        <translation>Corvane Scan Report</translation>
    </message>
    <message>
        <source>Report</source>
        <translation>Report</translation>
    </message>
    <message>
        <source>The report; find in it with Ctrl+F</source>
        <translation>The report; find in it with Ctrl+F</translation>
    </message>
    <message>
        <source>&lt;&lt; &amp;Prev</source>
        <translation>&lt;&lt; &amp;Prev</translation>
    </message>
    <message>
        <source>Alt+P</source>
        <translation>Alt+P</translation>
    </message>
    <message>
        <source>Previous report (Alt+P)</source>
        <translation>Previous report (Alt+P)</translation>
    </message>
    <message>
        <source>&amp;Next &gt;&gt;</source>
        <translation>&amp;Next &gt;&gt;</translation>
    </message>
    <message>
        <source>Alt+N</source>
        <translation>Alt+N</translation>
    </message>
    <message>
        <source>Next report (Alt+N)</source>
        <translation>Next report (Alt+N)</translation>
    </message>
    <message>
        <source>P&amp;rint</source>
        <translation>P&amp;rint</translation>
    </message>
    <message>
        <source>Alt+R</source>
        <translation>Alt+R</translation>
    </message>
    <message>
        <source>Print report (Alt+R)</source>
        <translation>Print report (Alt+R)</translation>
    </message>
    <message>
        <source>Save &amp;As</source>
        <translation>Save &amp;As</translation>
    </message>
    <message>
        <source>Alt+A</source>
        <translation>Alt+A</translation>
    </message>
    <message>
        <source>Save As report (Alt+A)</source>
        <translation>Save As report (Alt+A)</translation>
    </message>
    <message>
        <source>&amp;Close</source>
        <translation>&amp;Close</translation>
    </message>
    <message>
        <source>Alt+C</source>
        <translation>Alt+C</translation>
    </message>
    <message>
        <source>Close (Alt+C)</source>
        <translation>Close (Alt+C)</translation>
    </message>
    <message>
        <source>Unable to open report file</source>
        <translation>Unable to open report file</translation>
    </message>
    <message>
        <source>Save As</source>
        <translation>Save As</translation>
    </message>
    <message>
        <source>All Files (*)</source>
        <translation>All Files (*)</translation>
    </message>
    <message>
        <source>The File &apos; %1 &apos; already exists.
Do you want to replace the existing file?</source>
        <translation>The File &apos; %1 &apos; already exists.
Do you want to replace the existing file?</translation>
    </message>
    <message>
        <source>Unable to save the report as &apos; %1 &apos;.
%2</source>
        <translation>Unable to save the report as &apos; %1 &apos;.
%2</translation>
    </message>
    <message>
        <source>Previous report</source>
        <translation>Previous report</translation>
    </message>
    <message>
        <source>Next report</source>
        <translation>Next report</translation>
    </message>
    <message>
        <source>Print report</source>
        <translation>Print report</translation>
    </message>
    <message>
        <source>Save As report</source>
        <translation>Save As report</translation>
    </message>
    <message>
        <source>Close</source>
        <translation>Close</translation>
    </message>
    <message>
        <source>Printing the report ...</source>
        <translation>Printing the report ...</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Cancel</translation>
    </message>
    <message>
        <source>Unable to print the report.
Check the printer, or the room for the file that is printed to.</source>
        <translation>Unable to print the report.
Check the printer, or the room for the file that is printed to.</translation>
    </message>
    <message>
        <source>It is not a file that can hold a text.</source>
        <translation>It is not a file that can hold a text.</translation>
    </message>
    <message>
        <source>What the file held before is lost.</source>
        <translation>What the file held before is lost.</translation>
    </message>
    <message>
        <source>The report as it was written. Ctrl+F finds a text in it. Prev and Next show the reports before and after it in the list.</source>
        <translation>The report as it was written. Ctrl+F finds a text in it. Prev and Next show the reports before and after it in the list.</translation>
    </message>
</context>
<context>
    <name>dlgScnPrgrs</name>
    <message>
        <source>Corvane Scanner</source>
        <translation>Corvane Scanner</translation>
    </message>
    <message>
        <source>Scanning...</source>
        <translation>Scanning...</translation>
    </message>
    <message>
        <source>Current file</source>
        <translation>Current file</translation>
    </message>
    <message>
        <source>Scan progress</source>
        <translation>Scan progress</translation>
    </message>
    <message>
        <source>Files</source>
        <translation>Files</translation>
    </message>
    <message>
        <source>Scanned</source>
        <translation>Scanned</translation>
    </message>
    <message>
        <source>0</source>
        <translation>0</translation>
    </message>
    <message>
        <source>Infected</source>
        <translation>Infected</translation>
    </message>
    <message>
        <source>Action</source>
        <translation>Action</translation>
    </message>
    <message>
        <source>Repaired</source>
        <translation>Repaired</translation>
    </message>
    <message>
        <source>Deleted</source>
        <translation>Deleted</translation>
    </message>
    <message>
        <source>Skipped</source>
        <translation>Skipped</translation>
    </message>
    <message>
        <source>Last Infected file</source>
        <translation>Last Infected file</translation>
    </message>
    <message>
        <source>Last Virus Found</source>
        <translation>Last Virus Found</translation>
    </message>
    <message>
        <source>Stop &amp;Scan</source>
        <translation>Stop &amp;Scan</translation>
    </message>
    <message>
        <source>Stop scan (Alt+S)</source>
        <translation>Stop scan (Alt+S)</translation>
    </message>
    <message>
        <source>View &amp;Report</source>
        <translation>View &amp;Report</translation>
    </message>
    <message>
        <source>View report (Alt+R)</source>
        <translation>View report (Alt+R)</translation>
    </message>
    <message>
        <source>&amp;Close</source>
        <translation>&amp;Close</translation>
    </message>
    <message>
        <source>Cancel (Alt+C)</source>
        <translation>Cancel (Alt+C)</translation>
    </message>
    <message>
        <source>Scanning completed successfully</source>
        <translation>Scanning completed successfully</translation>
    </message>
    <message>
        <source>Corvane Scan</source>
        <translation>Corvane Scan</translation>
    </message>
    <message>
        <source>Do you want to stop scan?</source>
        <translation>Do you want to stop scan?</translation>
    </message>
    <message>
        <source>List the files that were not read (Alt+N)</source>
        <translation>List the files that were not read (Alt+N)</translation>
    </message>
    <message>
        <source>&amp;Not read: %1...</source>
        <translation>&amp;Not read: %1...</translation>
    </message>
    <message>
        <source>What the scan is at and what it has found so far. Stop Scan asks first. At the end, View Report shows all that was found and done.</source>
        <translation>What the scan is at and what it has found so far. Stop Scan asks first. At the end, View Report shows all that was found and done.</translation>
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
        <translation>Retrieving updates</translation>
    </message>
    <message>
        <source>Please wait while Rapid Update retrieves latest updates from Corvane Internet centre.</source>
        <translation>Please wait while Rapid Update retrieves latest updates from Corvane Internet centre.</translation>
    </message>
    <message>
        <source>&amp;Stop</source>
        <translation>&amp;Stop</translation>
    </message>
    <message>
        <source>Stop rapid update (Alt+S)</source>
        <translation>Stop rapid update (Alt+S)</translation>
    </message>
    <message>
        <source>Connecting to Corvane Internet Centre</source>
        <translation>Connecting to Corvane Internet Centre</translation>
    </message>
    <message>
        <source>Downloading update files</source>
        <translation>Downloading update files</translation>
    </message>
    <message>
        <source>Downloding index files</source>
        <translation>Downloding index files</translation>
    </message>
    <message>
        <source>Dat files Processing errors</source>
        <translation>Dat files Processing errors</translation>
    </message>
    <message>
        <source>Downloading Dat files.</source>
        <translation>Downloading Dat files.</translation>
    </message>
    <message>
        <source>Updating Corvane Engine</source>
        <translation>Updating Corvane Engine</translation>
    </message>
    <message>
        <source>New virus definitions are being loaded. Until they are switched to, Stop ends the update, and the old ones stay in use.</source>
        <translation>New virus definitions are being loaded. Until they are switched to, Stop ends the update, and the old ones stay in use.</translation>
    </message>
</context>
<context>
    <name>dlgVirFnd</name>
    <message>
        <source>Virus found!</source>
        <translation>Virus found!</translation>
    </message>
    <message>
        <source>Virus detected</source>
        <translation>Virus detected</translation>
    </message>
    <message>
        <source>File name</source>
        <translation>File name</translation>
    </message>
    <message>
        <source>Virus name</source>
        <translation>Virus name</translation>
    </message>
    <message>
        <source>Acti&amp;on</source>
        <translation>Acti&amp;on</translation>
    </message>
    <message>
        <source>Action on virus found (Alt+O)</source>
        <translation>Action on virus found (Alt+O)</translation>
    </message>
    <message>
        <source>Action</source>
        <translation>Action</translation>
    </message>
    <message>
        <source>Repair only</source>
        <translation>Repair only</translation>
    </message>
    <message>
        <source>Repair, delete if unrepairable</source>
        <translation>Repair, delete if unrepairable</translation>
    </message>
    <message>
        <source>Delete</source>
        <translation>Delete</translation>
    </message>
    <message>
        <source>Skip</source>
        <translation>Skip</translation>
    </message>
    <message>
        <source>&amp;Apply action to all </source>
        <translation>&amp;Apply action to all </translation>
    </message>
    <message>
        <source>Apply action to all</source>
        <translation>Apply action to all</translation>
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
        <translation>&amp;Cancel</translation>
    </message>
    <message>
        <source>Cancel (Alt+C)</source>
        <translation>Cancel (Alt+C)</translation>
    </message>
    <message>
        <source>A virus was found in this file, and the scan waits for you. Cancel leaves the file and asks whether the scan is to stop.</source>
        <translation>A virus was found in this file, and the scan waits for you. Cancel leaves the file and asks whether the scan is to stop.</translation>
    </message>
    <message>
        <source>Delete removes the file and keeps a copy. Skip leaves the file where it is. Files cannot be repaired: Repair only leaves the file, too.</source>
        <translation>Delete removes the file and keeps a copy. Skip leaves the file where it is. Files cannot be repaired: Repair only leaves the file, too.</translation>
    </message>
    <message>
        <source>When this is ticked, your answer holds for every further file of this scan, and you are not asked again.</source>
        <translation>When this is ticked, your answer holds for every further file of this scan, and you are not asked again.</translation>
    </message>
</context>
<context>
    <name>dlgschedulescan</name>
    <message>
        <source>Schedule Scan</source>
        <translation>Schedule Scan</translation>
    </message>
    <message>
        <source>Configure Schedule Scan</source>
        <translation>Configure Schedule Scan</translation>
    </message>
    <message>
        <source>This wizard help you to scan your preferred files and folders on your computer at the schedule time.</source>
        <translation>This wizard help you to scan your preferred files and folders on your computer at the schedule time.</translation>
    </message>
    <message>
        <source>Scan Name:</source>
        <translation>Scan Name:</translation>
    </message>
    <message>
        <source>The name of the scheduled scan</source>
        <translation>The name of the scheduled scan</translation>
    </message>
    <message>
        <source>Scan Name</source>
        <translation>Scan Name</translation>
    </message>
    <message>
        <source>The files and folders that are scanned</source>
        <translation>The files and folders that are scanned</translation>
    </message>
    <message>
        <source>Files and folders to scan</source>
        <translation>Files and folders to scan</translation>
    </message>
    <message>
        <source>Add folders to scan (Alt+A)</source>
        <translation>Add folders to scan (Alt+A)</translation>
    </message>
    <message>
        <source>Add folders</source>
        <translation>Add folders</translation>
    </message>
    <message>
        <source>&amp;Add Folders</source>
        <translation>&amp;Add Folders</translation>
    </message>
    <message>
        <source>Remove the selected folder (Alt+R)</source>
        <translation>Remove the selected folder (Alt+R)</translation>
    </message>
    <message>
        <source>Remove the selected folder</source>
        <translation>Remove the selected folder</translation>
    </message>
    <message>
        <source>&amp;Remove</source>
        <translation>&amp;Remove</translation>
    </message>
    <message>
        <source>Remove all folders (Alt+M)</source>
        <translation>Remove all folders (Alt+M)</translation>
    </message>
    <message>
        <source>Remove all folders</source>
        <translation>Remove all folders</translation>
    </message>
    <message>
        <source>Re&amp;move All</source>
        <translation>Re&amp;move All</translation>
    </message>
    <message>
        <source>To remove an item from the list, select it and click Remove.</source>
        <translation>To remove an item from the list, select it and click Remove.</translation>
    </message>
    <message>
        <source>Scan Frequency and Options</source>
        <translation>Scan Frequency and Options</translation>
    </message>
    <message>
        <source>Scan Frequency</source>
        <translation>Scan Frequency</translation>
    </message>
    <message>
        <source>Frequency:</source>
        <translation>Frequency:</translation>
    </message>
    <message>
        <source>How often the scan runs</source>
        <translation>How often the scan runs</translation>
    </message>
    <message>
        <source>Frequency</source>
        <translation>Frequency</translation>
    </message>
    <message>
        <source>Daily</source>
        <translation>Daily</translation>
    </message>
    <message>
        <source>Weekly</source>
        <translation>Weekly</translation>
    </message>
    <message>
        <source>Every day(s):</source>
        <translation>Every day(s):</translation>
    </message>
    <message>
        <source>After how many days or weeks the scan runs again</source>
        <translation>After how many days or weeks the scan runs again</translation>
    </message>
    <message>
        <source>Weekdays:</source>
        <translation>Weekdays:</translation>
    </message>
    <message>
        <source>The day of a weekly scan</source>
        <translation>The day of a weekly scan</translation>
    </message>
    <message>
        <source>Weekdays</source>
        <translation>Weekdays</translation>
    </message>
    <message>
        <source>Sunday</source>
        <translation>Sunday</translation>
    </message>
    <message>
        <source>Monday</source>
        <translation>Monday</translation>
    </message>
    <message>
        <source>Tuesday</source>
        <translation>Tuesday</translation>
    </message>
    <message>
        <source>Wednesday</source>
        <translation>Wednesday</translation>
    </message>
    <message>
        <source>Thursday</source>
        <translation>Thursday</translation>
    </message>
    <message>
        <source>Friday</source>
        <translation>Friday</translation>
    </message>
    <message>
        <source>Saturday</source>
        <translation>Saturday</translation>
    </message>
    <message>
        <source>Start at a time of day (Alt+A)</source>
        <translation>Start at a time of day (Alt+A)</translation>
    </message>
    <message>
        <source>Start at a time of day</source>
        <translation>Start at a time of day</translation>
    </message>
    <message>
        <source>Start &amp;at</source>
        <translation>Start &amp;at</translation>
    </message>
    <message>
        <source>When the scan starts</source>
        <translation>When the scan starts</translation>
    </message>
    <message>
        <source>Time of the start</source>
        <translation>Time of the start</translation>
    </message>
    <message>
        <source>Start when the computer is first started on a day (Alt+F)</source>
        <translation>Start when the computer is first started on a day (Alt+F)</translation>
    </message>
    <message>
        <source>Start at first boot</source>
        <translation>Start at first boot</translation>
    </message>
    <message>
        <source>Start at &amp;first boot</source>
        <translation>Start at &amp;first boot</translation>
    </message>
    <message>
        <source>Repeat the scan on the same day (Alt+R)</source>
        <translation>Repeat the scan on the same day (Alt+R)</translation>
    </message>
    <message>
        <source>Repeat scan</source>
        <translation>Repeat scan</translation>
    </message>
    <message>
        <source>&amp;Repeat scan after every:</source>
        <translation>&amp;Repeat scan after every:</translation>
    </message>
    <message>
        <source>After how many minutes or hours the scan is repeated</source>
        <translation>After how many minutes or hours the scan is repeated</translation>
    </message>
    <message>
        <source>Repeat scan after every</source>
        <translation>Repeat scan after every</translation>
    </message>
    <message>
        <source>Minutes or hours</source>
        <translation>Minutes or hours</translation>
    </message>
    <message>
        <source>Unit of the repetition</source>
        <translation>Unit of the repetition</translation>
    </message>
    <message>
        <source>Minutes</source>
        <translation>Minutes</translation>
    </message>
    <message>
        <source>Hours</source>
        <translation>Hours</translation>
    </message>
    <message>
        <source>Scanner Options</source>
        <translation>Scanner Options</translation>
    </message>
    <message>
        <source>Advanced Options</source>
        <translation>Advanced Options</translation>
    </message>
    <message>
        <source>Scan adware and spyware (Alt+D)</source>
        <translation>Scan adware and spyware (Alt+D)</translation>
    </message>
    <message>
        <source>Scan Adware/Spyware</source>
        <translation>Scan Adware/Spyware</translation>
    </message>
    <message>
        <source>Scan A&amp;dware/Spyware</source>
        <translation>Scan A&amp;dware/Spyware</translation>
    </message>
    <message>
        <source>Scan archive files (Alt+V)</source>
        <translation>Scan archive files (Alt+V)</translation>
    </message>
    <message>
        <source>Scan Archives</source>
        <translation>Scan Archives</translation>
    </message>
    <message>
        <source>Scan Archi&amp;ves</source>
        <translation>Scan Archi&amp;ves</translation>
    </message>
    <message>
        <source>Scan dumb files (Alt+M)</source>
        <translation>Scan dumb files (Alt+M)</translation>
    </message>
    <message>
        <source>Dumb Scan</source>
        <translation>Dumb Scan</translation>
    </message>
    <message>
        <source>Du&amp;mb Scan</source>
        <translation>Du&amp;mb Scan</translation>
    </message>
    <message>
        <source>Scan packed files (Alt+P)</source>
        <translation>Scan packed files (Alt+P)</translation>
    </message>
    <message>
        <source>Scan Packed</source>
        <translation>Scan Packed</translation>
    </message>
    <message>
        <source>Scan &amp;Packed</source>
        <translation>Scan &amp;Packed</translation>
    </message>
    <message>
        <source>Action on Virus Found</source>
        <translation>Action on Virus Found</translation>
    </message>
    <message>
        <source>Select action on virus found</source>
        <translation>Select action on virus found</translation>
    </message>
    <message>
        <source>Repair only</source>
        <translation>Repair only</translation>
    </message>
    <message>
        <source>Repair, delete if unrepairable</source>
        <translation>Repair, delete if unrepairable</translation>
    </message>
    <message>
        <source>Delete</source>
        <translation>Delete</translation>
    </message>
    <message>
        <source>Report only</source>
        <translation>Report only</translation>
    </message>
    <message>
        <source>Summary</source>
        <translation>Summary</translation>
    </message>
    <message>
        <source>Scan name:</source>
        <translation>Scan name:</translation>
    </message>
    <message>
        <source>Repeat Every:</source>
        <translation>Repeat Every:</translation>
    </message>
    <message>
        <source>Selected Folder &amp; Drives:</source>
        <translation>Selected Folder &amp; Drives:</translation>
    </message>
    <message>
        <source>Selected folders and drives</source>
        <translation>Selected folders and drives</translation>
    </message>
    <message>
        <source>No folder is selected: this scan has nothing to scan. Go back to add one.</source>
        <translation>No folder is selected: this scan has nothing to scan. Go back to add one.</translation>
    </message>
    <message>
        <source>&lt; &amp;Back</source>
        <translation>&lt; &amp;Back</translation>
    </message>
    <message>
        <source>&amp;Next &gt;</source>
        <translation>&amp;Next &gt;</translation>
    </message>
    <message>
        <source>&amp;Finish</source>
        <translation>&amp;Finish</translation>
    </message>
    <message>
        <source>&amp;Cancel</source>
        <translation>&amp;Cancel</translation>
    </message>
    <message>
        <source>Schedule Scan %1 is added successfully.</source>
        <translation>Schedule Scan %1 is added successfully.</translation>
    </message>
    <message>
        <source>Schedule Scan %1 modified successfully.</source>
        <translation>Schedule Scan %1 modified successfully.</translation>
    </message>
    <message>
        <source>Schedule Scan is not added</source>
        <translation>Schedule Scan is not added</translation>
    </message>
    <message>
        <source>Schedule Scan is not modified</source>
        <translation>Schedule Scan is not modified</translation>
    </message>
    <message>
        <source>You cannot add more than 100 scan items.</source>
        <translation>You cannot add more than 100 scan items.</translation>
    </message>
    <message>
        <source>Please select item from list to remove.</source>
        <translation>Please select item from list to remove.</translation>
    </message>
    <message>
        <source>Every weekdays(s):</source>
        <translation>Every weekdays(s):</translation>
    </message>
    <message>
        <source>First Boot</source>
        <translation>First Boot</translation>
    </message>
    <message>
        <source>No Repeat</source>
        <translation>No Repeat</translation>
    </message>
    <message>
        <source>%1 Min</source>
        <translation>%1 Min</translation>
    </message>
    <message>
        <source>%1 Hrs</source>
        <translation>%1 Hrs</translation>
    </message>
    <message>
        <source>Give the scheduled scan a name, and add the files and folders that it is to go through.</source>
        <translation>Give the scheduled scan a name, and add the files and folders that it is to go through.</translation>
    </message>
    <message>
        <source>When the scheduled scan runs, how thoroughly it looks, and what it does with an infected file.</source>
        <translation>When the scheduled scan runs, how thoroughly it looks, and what it does with an infected file.</translation>
    </message>
    <message>
        <source>With 2, a daily scan runs every other day and a weekly one every other week.</source>
        <translation>With 2, a daily scan runs every other day and a weekly one every other week.</translation>
    </message>
    <message>
        <source>The scan runs once on each of its days, when the computer is first started on it.</source>
        <translation>The scan runs once on each of its days, when the computer is first started on it.</translation>
    </message>
    <message>
        <source>Potentially unwanted programs are reported, too.</source>
        <translation>Potentially unwanted programs are reported, too.</translation>
    </message>
    <message>
        <source>What is in archives is scanned. Without it a virus in an archive is not found.</source>
        <translation>What is in archives is scanned. Without it a virus in an archive is not found.</translation>
    </message>
    <message>
        <source>Clean files of unknown kind are counted as such. What is found is the same with and without it.</source>
        <translation>Clean files of unknown kind are counted as such. What is found is the same with and without it.</translation>
    </message>
    <message>
        <source>Packed programs are taken apart. Without it less is found in them.</source>
        <translation>Packed programs are taken apart. Without it less is found in them.</translation>
    </message>
    <message>
        <source>What the scan does with an infected file. Nobody is there to be asked.</source>
        <translation>What the scan does with an infected file. Nobody is there to be asked.</translation>
    </message>
    <message>
        <source>This is what was chosen. Back leads to what is to be changed; Finish keeps it.</source>
        <translation>This is what was chosen. Back leads to what is to be changed; Finish keeps it.</translation>
    </message>
</context>
</TS>
