// The commands. Each stands in a file of its own, named after its words: "host add" in HostAdd.cpp. A new
// one is declared here and listed in table/Table.cpp.
#pragma once

#include "commands/table/Command.h"

namespace zpweb {

Command siteCreate();
Command siteDelete();
Command siteStart();
Command siteStop();
Command siteStatus();
Command siteEnable();
Command siteDisable();
Command siteMove();
Command siteRename();
Command siteList();
Command siteShow();
Command siteSet();
Command siteSuspend();
Command siteResume();
Command sitePort();
Command hostAdd();
Command hostRemove();
Command addressList();
Command addressOwn();
Command addressShared();
Command vdirCreate();
Command vdirDelete();
Command vdirSet();
Command vdirShow();
Command vdirList();
Command vdirFind();
Command userAdd();
Command userPasswd();
Command userDelete();
Command userList();
Command protectAdd();
Command protectRemove();
Command protectEdit();
Command perlOn();
Command perlOff();
Command basedirOn();
Command basedirOff();
Command logRotate();
Command directiveGet();
Command directiveAdd();
Command directiveSet();
Command directiveDelete();
Command directiveInsert();
Command folderAdd();
Command folderSet();
Command folderMove();
Command folderDelete();
Command folderLine();
Command paramTest();
Command paramAdd();
Command paramEdit();
Command paramDelete();
Command moduleShow();
Command moduleLoad();
Command moduleUnblock();
Command serverInfo();
Command serverReload();
Command exportOfSites();
Command planSites();
Command applyCommands();
Command historyOfChanges();
Command undoChange();
Command confirmChange();
Command doctorFindings();
Command sitePause();
Command siteContinue();
Command railsOn();
Command railsOff();
Command suphpInstall();
Command suphpOn();
Command suphpOff();
Command limitsOn();
Command serverPanelPort();

}  // namespace zpweb
