<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="ko_KR" sourcelanguage="en_US">
<context>
    <name>global</name>
    <message>
        <source>Syncing has been paused.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>From</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The selected folder is a mount point. Please choose a folder inside it.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Mar</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Delete</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>{\VerdanaBold13}Installing [ProductName]</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Re&amp;pair</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>{\VerdanaBold13}Ready to install [ProductName]</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Connecting...</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>File conflicts occurred. The file is now renamed as %1.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Conflicting copy</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Don&apos;t show this message again</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Are you sure you want to cancel [ProductName] installation?</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Select the folders to sync</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Your files, everywhere</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The remote folder is not available.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Close the applications and attempt to restart them.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Searching for NAS devices on the local network...</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Some files that need to be updated are currently in use.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Please choose a different local folder.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>[ProductName] Setup</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Saturday</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Velmora is starting...</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>This computer is already linked to this NAS.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>{\VerdanaBold13}Files in Use</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Shared folder not found</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Advanced Settings</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Automatic connection failed because of a system error.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>취소</translation>
    </message>
    <message>
        <source>Loading shared folders...</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The Setup Wizard will install [ProductName] on your computer. Click Next to continue or Cancel to exit the Setup Wizard.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Use SSL encryption for connections</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Date &amp; Time</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Wednesday</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Destination</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Password:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Please enter a user name.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Currently syncing</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Removes [ProductName] from your computer.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Change Folder</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Status:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Edit Connection</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Folder path</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Action</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Status</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Please enter the proxy server address and port.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The NAS sent a response that could not be understood.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>File name:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>I &amp;accept the terms in the License Agreement</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>No records found.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Feb</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Got it</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Sync problem</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Selective Sync</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 hour(s) ago</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Administrator rights are required to install this program. Continue anyway?</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Files you put in the Velmora folder are kept in sync with your NAS.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The local folder already contains files. Merge them with the shared folder?</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Exclusions</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Error</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The new language will be used after Velmora restarts.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Show icons on files that are not synced</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Welcome</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Read-only</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Connection unstable</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Proxy Settings</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The NAS linked to this folder has changed.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Apr</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Proxy</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Your storage quota on the NAS is full.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Security Warning</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Sync a folder on this computer with your home folder on the NAS. (Recommended)</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The NAS runs a version that this client does not support. Please update the NAS.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Applying settings...</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>&amp;Next &gt;</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Sync Activity</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Dec</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Velmora is now syncing your files.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 shared a folder with you.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Remove Installation</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The disk is full.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Do Not Sync These Folders</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Folder Shared</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Please wait while the Setup Wizard installs [ProductName].</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Name</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>About Velmora</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Download</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Click Repair to repair the installation of [ProductName]. Click Back to review or change any of your installation settings. Click Cancel to exit the wizard.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Previous %1 pages</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Click the Finish button to exit the Setup Wizard.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>&amp;Ignore</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>NAS Changed</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>This file is locked by another application.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Open Sync Status</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Add a Sync Folder</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The NAS no longer supports this version of Velmora. Please upgrade Velmora.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Right-click a file in the Velmora folder to see its older versions.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Processing %1 file(s)...</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Orvane Velmora</source>
        <translation>Orvane Velmora</translation>
    </message>
    <message>
        <source>Unlink</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Your sync folder is set up. Velmora starts syncing now.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>&amp;Repair</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Unlink this computer from the NAS? Files already on this computer are kept.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Upgrade Available</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>NAS address</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Change Installation</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Folder</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Update the sync package on the NAS to use Selective Sync.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Direct</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The local sync folder cannot be found.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Browse Previous Versions</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>ID</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Choose how to set up syncing.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Restore any earlier version with one click.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>[ProductName] Setup was interrupted. Your system has not been modified. To install this program at a later time, please run the installation again.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>More details</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Done</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Resume Syncing</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The security certificate of the NAS has changed.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Your home folder is now kept in sync.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Today</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Just now</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Sync Tasks</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Keep your files in sync across all your computers.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Show the tutorial at start-up</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Detecting connection...</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Keyword</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Port:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Permission denied</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Nov</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>{\VerdanaBold13}[ProductName] Setup Wizard was interrupted</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Standby</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>&amp;Install</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>You only have read permission for this folder. Changes you make locally will not be uploaded.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>File Name</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>This folder is linked to a different NAS.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Files in both folders will be merged; files with the same name are kept as conflicting copies.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Add</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Quick Setup</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Uploading</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Continue</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The selected folder is not empty.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>{\VerdanaBold13}Completed the [ProductName] Setup Wizard</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>A newer version of [ProductName] is already installed. Setup will now exit.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>SSL</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Select a NAS found on your local network:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Setup is complete.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Disconnected from the NAS.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Computer Name</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Checking data...</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>&amp;Yes</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Checking user name and password...</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>OK</source>
        <translation>확인</translation>
    </message>
    <message>
        <source>Share with a link</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Send to %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Your changes have not been saved. Save them now?</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Custom</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>To</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Do Not Sync This Folder</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Select a folder</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>No, thanks</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Last page</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>First page</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Lets you change the way features are installed.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Retry Syncing</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Resume</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Click Finish to exit the Setup Wizard.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Synchronization mode</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>A secure connection to the NAS could not be established.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Stop syncing this shared folder? Files already on this computer are kept.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Recently Changed Files</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>This may take several minutes.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Information</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Language:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Sharing links cannot be created for this folder.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Show desktop notifications</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>File</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Choose a shared folder on the NAS and a folder on this computer to keep in sync.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The security certificate of the NAS could not be verified.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>{\VerdanaBold13}End-User License Agreement</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Thursday</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>All events</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>[ProductName] Setup ended prematurely because of an error. Your system has not been modified. To install this program at a later time, please run the installation again.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>This folder cannot be used as a sync folder.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Last month</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Settings</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The local folder %1 is already used by another sync folder.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Choose Another</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>{\VerdanaBold13}Ready to repair [ProductName]</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Service disabled</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Use a monochrome menu bar icon</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Folder name</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Indexing folder...</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Search</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>{\VerdanaBold13}Welcome to the [ProductName] Setup Wizard</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Click Install to begin the installation. Click Back to review or change any of your installation settings. Click Cancel to exit the wizard.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 has been downloaded.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>{\VerdanaBold13}[ProductName] Setup Wizard ended prematurely</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Click Remove to remove [ProductName] from your computer. Click Back to review or change any of your installation settings. Click Cancel to exit the wizard.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Velmora could not be started.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Reconnect</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 items</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Quit Velmora</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Advanced Setup</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Download History</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Disabled</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Files whose names start with a dot</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Preparing</source>
        <translation>준비 중</translation>
    </message>
    <message>
        <source>Advanced Mode</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Created</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Version %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Your storage quota on the NAS is full. Syncing has stopped.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>An unexpected error occurred.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>[DlgTitleFont]Thank you for installing [ProductName].</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Paused</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Next %1 pages</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Sync Status</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Type</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Relay</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>No settings have been changed.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Downloading %1...</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The network connection is unavailable.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Connecting to the NAS...</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Up to date</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>&amp;No</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Setup Mode</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Rename</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Edit</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Details</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Upgrading...</source>
        <translation>업그레이드하는 중...</translation>
    </message>
    <message>
        <source>Finish</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The local database is damaged.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Right-click a file to create a link that others can use to download it.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>{\DlgFont8}Setup is ready to repair the installation.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>You can only read files in this folder.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>IP address</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Velmora keeps the folders on your computer in sync with your NAS.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 updated</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Choose the local folder to sync.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>and %1 more</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The download was cancelled.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Your files, in sync.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Sync direction</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>New shared folder</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Excluded Files</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Disk full</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>{\DlgFont8}Setup is ready to begin the installation.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The Setup Wizard will allow you to change the way [ProductName] features are installed on your computer or to remove it from your computer. Click Next to continue or Cancel to exit the Setup Wizard.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>NAS devices on the same local network are listed here.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The version information is invalid.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Repair Installation</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Summary</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Manual proxy configuration</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Options</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The shared folder is not mounted on the NAS.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Select the operation you wish to perform.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Automatic connection failed: the relay server could not be reached.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Choose exactly which folders are synced to this computer.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>This version of Velmora is too old for the NAS. Please upgrade Velmora.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>General</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Show in Folder</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Jul</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Loading...</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The shared item could not be removed.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>System default</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Close these applications and then click Retry to continue the installation or Cancel to exit it.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Initializing</source>
        <translation>초기화 중</translation>
    </message>
    <message>
        <source>Testing the connection...</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The following applications are using files that need to be updated by this setup.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The sync service is disabled on the NAS. Please ask the administrator to enable it.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Use system proxy settings</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>No permission</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>When the icon is double-clicked</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The local disk is full. Syncing has stopped.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>File extensions:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Jun</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>A folder with this name already exists in the sync folder.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Selective Sync for Folders</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Connection Info</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>NAS Overview</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Enabled</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Connection mode</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>This folder overlaps with an existing sync folder.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Do not sync files with these names:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Apply</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Folders you deselect will be removed from this computer but stay on the NAS.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Please enter a port number between 1 and 65535.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Downloading</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Resume Syncing These Folders</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Network Settings</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Show sync status icons on files</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Read-only Folder</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Resume Syncing This Folder</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The NAS needs an update before it can sync with this computer.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Start Velmora when I log in</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>You have read-only access to this folder.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>This allows you to specify a folder on your computer to keep synced with a shared folder on your Orvane NAS. (Recommended for teamwork)​.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The versions of this file could not be listed.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>&amp;Finish</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>&lt; &amp;Back</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>&amp;Change</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Yesterday</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Share Link</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Sunday</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Help</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Link Another NAS</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Aug</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The disk of the NAS is full. Syncing has stopped.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Friday</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Inactive</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Pause Syncing</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Remove this shared item?</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Sync only what you need</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Needs attention</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>One-way sync (download only)</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>&amp;Remove</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Files and folders matching these rules are not synced.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Choose what to do next:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The local disk is full.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Jan</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Link a New NAS</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Open Folder</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>You can sync up to %1 shared folders.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Updating...</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>New Sync Folder</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Manage</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Open Velmora Folder</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Syncing...</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Open My Folder</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Go back in time</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>This Computer</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Sync shared folders</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Size</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The upgrade failed.</source>
        <translation>업그레이드하지 못했습니다.</translation>
    </message>
    <message>
        <source>Syncing</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Value</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Start Now</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Select the files to sync</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Remove</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 could not be downloaded.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Wrong user name or password.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>File sharing is not available through the relay connection.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Internet</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>&amp;OK</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Version not supported</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Open Velmora</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Oct</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Pause</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Date</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>{\VerdanaBold13}Remove [ProductName]</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Open File</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Merge</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Mount point</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Reset</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>This sync folder is inactive.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Folder Not Empty</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Sep</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Version mismatch</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 minute(s) ago</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Do not close applications. A reboot will be required.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Velmora is already running.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Merge mode</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Click to update</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>&amp;Cancel</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Folder Already in Use</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Monday</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Watching for changes...</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Use relay connection</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Sync mode</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Velmora is ready.</source>
        <translation>Velmora가 준비되었습니다.</translation>
    </message>
    <message>
        <source>LAN</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Select the shared folder on the NAS to sync with.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Loading folder list...</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The sync folder is on a disk that is not connected.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>File Type</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>User name</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>All Set</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>{\DlgFont8}Setup is ready to remove the installation.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Upload</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Proxy server requires a password</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Files updated</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Last week</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Sync History</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The security certificate of the NAS could not be verified. Syncing has stopped.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Do not sync files larger than (MB):</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>May</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Connected successfully.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Upgrade</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Address:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Shared Folder</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Unlink this sync folder? Files already on this computer are kept.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>E&amp;xit</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Download only</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Password</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Sign-in failed</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Time</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The user name or password is incorrect.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Selective Sync for Files</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Two-way sync</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Shared Folders</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The security certificate of the NAS has changed. Continue only if you trust this NAS.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>One-way sync (upload only)</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The link works even for people without an account.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Date range</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>&amp;Print</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>User name:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Authentication failed</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 day(s) ago</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Next</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Welcome to Velmora</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Separate names with commas. Wildcards such as * are allowed.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Tuesday</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Back</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Yes</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Progress</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Local sync folder</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Velmora is initializing...</source>
        <translation>Velmora를 초기화하는 중...</translation>
    </message>
    <message>
        <source>No proxy</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>A link cannot be created for this file.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Changes on network drives are detected less quickly.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Continue Anyway</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Launch [ProductName]</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The shared folder could not be enabled.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Each local folder can be linked to only one sync folder.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>[ProductName] %1 is already installed.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>&amp;Retry</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>This file cannot be downloaded.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Preferences...</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>This product has no independently selectable features.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>I &amp;do not accept the terms in the License Agreement</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The device ID is invalid.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>More Tips</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 could not be synced.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Invalid value.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Please read the following license agreement carefully.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Repairs errors in the most recent installation by fixing missing and corrupt files, shortcuts, and registry entries.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>{\VerdanaBold13}Change, repair, or remove installation</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>All files are up to date.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Specify the file size between 0-10240000 MB.</source>
        <translation type="unfinished"></translation>
    </message>
</context>
</TS>
