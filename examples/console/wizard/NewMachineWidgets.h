#pragma once

class CAbstractWizardPage;
class NewMachineModel;
class QWidget;

/// The face of a page of the wizard "New virtual machine" in the dialog of widgets.
QWidget *makePageWidget(CAbstractWizardPage &page);

/// Memory and processors.
QWidget *makeHardwareWidget(NewMachineModel &model);
