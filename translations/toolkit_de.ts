<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de_DE" sourcelanguage="en">
<context>
    <name>QPlatformTheme</name>
    <message><source>OK</source><translation>OK</translation></message>
    <message><source>Open</source><translation>Öffnen</translation></message>
    <message><source>Cancel</source><translation>Abbrechen</translation></message>
    <message><source>Close</source><translation>Schließen</translation></message>
    <message><source>&amp;Yes</source><translation>&amp;Ja</translation></message>
    <message><source>&amp;No</source><translation>&amp;Nein</translation></message>
</context>
<context>
    <name>QFileDialog</name>
    <message><source>Look in:</source><translation>Suchen in:</translation></message>
    <message><source>File &amp;name:</source><translation>Datei&amp;name:</translation></message>
    <message><source>Files of type:</source><translation>Dateien des Typs:</translation></message>
    <message><source>&amp;Open</source><translation>Ö&amp;ffnen</translation></message>
    <message><source>&amp;Choose</source><translation>&amp;Auswählen</translation></message>
    <message><source>Back</source><translation>Zurück</translation></message>
    <message><source>Forward</source><translation>Vor</translation></message>
    <message><source>Parent Directory</source><translation>Übergeordneter Ordner</translation></message>
    <message><source>All Files (*)</source><translation>Alle Dateien (*)</translation></message>
</context>
<context>
    <name>QFileSystemModel</name>
    <message><source>Name</source><translation>Name</translation></message>
    <message><source>Size</source><translation>Größe</translation></message>
    <message><source>Date Modified</source><translation>Geändert am</translation></message>
</context>
</TS>
